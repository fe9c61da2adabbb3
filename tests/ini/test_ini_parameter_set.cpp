// SPDX-License-Identifier: Apache-2.0
// The whole set of sections and keys the parameter store keeps in srci.ini,
// written into a fresh file and read back through the typed getters.
#include <gtest/gtest.h>

#include <vector>

#include "INI/iniHandler.h"
#include "iniTestFiles.h"

namespace {

struct Table {
    std::string section;
    std::vector<std::string> keys;  // "?name": bool, "#name": int, else double
};

std::vector<Table> storeLayout() {
    const std::vector<std::string> pose = {"x", "y", "z", "rx", "ry", "rz"};
    std::vector<std::string> tool = pose, frame = pose, load = {"mass"};
    tool.insert(tool.end(), {"?fixTCP", "#loadId", "#physicalToolId"});
    frame.push_back("#refIndex");
    load.insert(load.end(), pose.begin(), pose.end());
    load.insert(load.end(), {"ix", "iy", "iz"});
    std::vector<Table> layout = {{"refDyn", {"vel", "acc", "dec", "jerk"}},
                                 {"defaultDyn", {"vel", "acc", "dec", "jerk"}}};
    for (int i = 1; i <= 15; ++i) {
        layout.push_back({"tool" + std::to_string(i), tool});
        layout.push_back({"userFrame" + std::to_string(i), frame});
        layout.push_back({"load" + std::to_string(i), load});
    }
    return layout;
}

// A different value for every key, with signs, fractions and larger magnitudes.
double valueFor(std::size_t t, std::size_t k) {
    const double magnitude = static_cast<double>(t) * 37.125 + static_cast<double>(k) * 0.001;
    return (t + k) % 2 == 0 ? magnitude : -magnitude;
}

TEST(IniParameterSet, FreshFileReadsBackEveryValueInWriteOrder) {
    IniScratchDir dir;
    INI ini(dir.file("srci.ini"));
    const std::vector<Table> layout = storeLayout();
    for (std::size_t t = 0; t < layout.size(); ++t) {
        for (std::size_t k = 0; k < layout[t].keys.size(); ++k) {
            const std::string& key = layout[t].keys[k];
            const double v = valueFor(t, k);
            const bool ok = key[0] == '?'   ? ini.put(layout[t].section, key.substr(1), v > 0)
                            : key[0] == '#' ? ini.put(layout[t].section, key.substr(1), static_cast<int>(v))
                                            : ini.put(layout[t].section, key, v);
            ASSERT_TRUE(ok) << layout[t].section << "." << key;
        }
    }

    const minIni raw(dir.file("srci.ini"));
    for (std::size_t t = 0; t < layout.size(); ++t) {
        const std::string& section = layout[t].section;
        EXPECT_EQ(raw.getsection(static_cast<int>(t)), section);
        for (std::size_t k = 0; k < layout[t].keys.size(); ++k) {
            const std::string& key = layout[t].keys[k];
            const std::string name = key[0] == '?' || key[0] == '#' ? key.substr(1) : key;
            SCOPED_TRACE(section + "." + name);
            EXPECT_EQ(raw.getkey(section, static_cast<int>(k)), name);
            const double v = valueFor(t, k);
            if (key[0] == '?') EXPECT_EQ(ini.getBool(section, name), v > 0);
            else if (key[0] == '#') EXPECT_EQ(ini.getInt(section, name), static_cast<int>(v));
            else EXPECT_FLOAT_EQ(static_cast<float>(ini.getDouble(section, name)), static_cast<float>(v));
        }
        EXPECT_EQ(raw.getkey(section, static_cast<int>(layout[t].keys.size())), "");
    }
    EXPECT_EQ(raw.getsection(static_cast<int>(layout.size())), "");

    // What the store does at every start: write back what it has just read. No change.
    backdate(dir.file("srci.ini"));
    const struct stat before = statOf(dir.file("srci.ini"));
    for (const Table& table : layout)  // the first key of every table is a double
        ASSERT_TRUE(ini.put(table.section, table.keys[0], ini.getDouble(table.section, table.keys[0])));
    EXPECT_EQ(statOf(dir.file("srci.ini")).st_mtim.tv_sec, before.st_mtim.tv_sec);
}

}  // namespace
