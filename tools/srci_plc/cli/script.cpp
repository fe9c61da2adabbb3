// SPDX-License-Identifier: Apache-2.0
#include "script.hpp"

#include <fstream>
#include <sstream>

#include "command_runner.hpp"

namespace srci_plc::cli {

CommandLine checked_command(const std::vector<std::string>& words) {
    CommandLine c = parse_command_words(words);
    validate_command(c);
    return c;
}

std::vector<ScriptLine> parse_script(const std::string& text, const std::string& file) {
    if (text.size() > kMaxScriptBytes) throw UsageError(file + ": script larger than 1 MiB");
    const std::string bom = "\xEF\xBB\xBF";  // invisible in an editor, and in a message
    std::istringstream lines_in(text.compare(0, bom.size(), bom) == 0 ? text.substr(bom.size()) : text);
    std::vector<ScriptLine> lines;
    std::string line;
    for (int number = 1; std::getline(lines_in, line); ++number) {
        const std::string where = file + ":" + std::to_string(number);
        try {
            const auto words = split_script_line(line);
            if (words.empty()) continue;
            lines.push_back(ScriptLine{where, checked_command(words)});
        } catch (const UsageError& e) {
            throw UsageError(where + ": " + e.what());
        }
    }
    if (lines.empty()) throw UsageError(file + ": no commands");
    return lines;
}

std::vector<ScriptLine> load_script(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw UsageError("cannot open script " + file);
    std::string text(kMaxScriptBytes + 1, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(in.gcount()));
    if (in.bad()) throw UsageError("cannot read script " + file);
    return parse_script(text, file);
}

}  // namespace srci_plc::cli
