// SPDX-License-Identifier: Apache-2.0
#pragma once
// The page's files, compiled into pnio-sim so that the view works offline and needs no install.
#include <string_view>

namespace pnio_sim::web {

struct Asset {
    std::string_view path;  // "/", "/app.js", ...
    std::string_view content_type;
    std::string_view body;
};

const Asset* find_asset(std::string_view path);

}  // namespace pnio_sim::web
