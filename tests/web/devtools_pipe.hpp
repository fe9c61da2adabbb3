// SPDX-License-Identifier: Apache-2.0
#pragma once
// A headless Chromium driven over its DevTools pipe (--remote-debugging-pipe): JSON messages
// separated by NUL bytes on fds 3 (to the browser) and 4 (from it). Enough to open a page, read
// the DOM through Runtime.evaluate and take a screenshot; no network port, nothing to download.
#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>

namespace web_test {

class HeadlessBrowser {
public:
    // Starts the browser with a 1280x720 window; its output goes to log_file.
    HeadlessBrowser(const std::string& binary, const std::string& profile_dir, const std::string& log_file);
    ~HeadlessBrowser();
    HeadlessBrowser(const HeadlessBrowser&) = delete;
    HeadlessBrowser& operator=(const HeadlessBrowser&) = delete;

    // Attaches to the first page; false (with why) when the browser does not answer.
    bool open(const std::string& url, std::string& why);
    // The value of a JavaScript expression that yields a string; empty on failure.
    std::string evaluate(const std::string& expression);
    // Writes a PNG of the page; false on failure.
    bool screenshot(const std::string& path);

private:
    nlohmann::json call(const std::string& method, const nlohmann::json& params, int timeout_ms);

    pid_t pid_ = -1;
    int to_browser_ = -1;
    int from_browser_ = -1;
    int next_id_ = 1;
    std::string session_;
    std::string pending_;
};

}  // namespace web_test
