// SPDX-License-Identifier: Apache-2.0
#include "devtools_pipe.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>
#include <vector>

namespace web_test {

namespace {

std::string base64_decode(const std::string& in) {
    auto value = [](char c) -> int {
        if (c >= 'A' && c <= 'Z') return c - 'A';
        if (c >= 'a' && c <= 'z') return c - 'a' + 26;
        if (c >= '0' && c <= '9') return c - '0' + 52;
        if (c == '+') return 62;
        if (c == '/') return 63;
        return -1;
    };
    std::string out;
    int bits = 0, acc = 0;
    for (char c : in) {
        const int v = value(c);
        if (v < 0) continue;
        acc = (acc << 6) | v;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<char>((acc >> bits) & 0xFF));
        }
    }
    return out;
}

}  // namespace

HeadlessBrowser::HeadlessBrowser(const std::string& binary, const std::string& profile_dir,
                                 const std::string& log_file) {
    signal(SIGPIPE, SIG_IGN);  // a browser that died must not take the test with it
    int to[2], from[2];
    if (pipe2(to, O_CLOEXEC) != 0 || pipe2(from, O_CLOEXEC) != 0) return;
    std::vector<std::string> args = {binary,
                                     "--headless",
                                     "--disable-gpu",
                                     "--remote-debugging-pipe",
                                     "--user-data-dir=" + profile_dir,
                                     "--window-size=1280,720",
                                     "--no-first-run",
                                     "--no-default-browser-check",
                                     "--hide-scrollbars",
                                     "--disable-extensions",
                                     "--mute-audio"};
    if (geteuid() == 0) args.push_back("--no-sandbox");  // the sandbox refuses to run as root
    args.push_back("about:blank");
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    const int log = ::open(log_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    pid_ = fork();
    if (pid_ == 0) {
        setpgid(0, 0);  // its helper processes go with it
        // Moved out of the way first: a pipe end may already sit on fd 3 or 4.
        const int in = fcntl(to[0], F_DUPFD, 10);
        const int out = fcntl(from[1], F_DUPFD, 10);
        dup2(in, 3);
        dup2(out, 4);
        if (log >= 0) {
            dup2(log, 1);
            dup2(log, 2);
        }
        execv(binary.c_str(), argv.data());
        _exit(127);
    }
    if (log >= 0) close(log);
    close(to[0]);
    close(from[1]);
    to_browser_ = to[1];
    from_browser_ = from[0];
}

HeadlessBrowser::~HeadlessBrowser() {
    if (pid_ > 0) {
        call("Browser.close", nlohmann::json::object(), 3000);
        for (int i = 0; i < 50 && waitpid(pid_, nullptr, WNOHANG) == 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        kill(-pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    if (to_browser_ >= 0) close(to_browser_);
    if (from_browser_ >= 0) close(from_browser_);
}

nlohmann::json HeadlessBrowser::call(const std::string& method, const nlohmann::json& params, int timeout_ms) {
    if (to_browser_ < 0) return nullptr;
    const int id = next_id_++;
    nlohmann::json msg = {{"id", id}, {"method", method}, {"params", params}};
    if (!session_.empty()) msg["sessionId"] = session_;
    std::string out = msg.dump();
    out.push_back('\0');
    if (write(to_browser_, out.data(), out.size()) != static_cast<ssize_t>(out.size())) return nullptr;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    for (;;) {
        for (size_t nul; (nul = pending_.find('\0')) != std::string::npos;) {
            const std::string text = pending_.substr(0, nul);
            pending_.erase(0, nul + 1);
            const auto reply = nlohmann::json::parse(text, nullptr, false);
            if (reply.is_object() && reply.value("id", -1) == id) return reply;  // events are skipped
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) return nullptr;
        pollfd p{from_browser_, POLLIN, 0};
        if (poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
        char buf[65536];
        const ssize_t n = read(from_browser_, buf, sizeof buf);
        if (n <= 0) return nullptr;
        pending_.append(buf, static_cast<size_t>(n));
    }
}

bool HeadlessBrowser::open(const std::string& url, std::string& why) {
    if (pid_ <= 0) {
        why = "could not start the browser";
        return false;
    }
    const auto targets = call("Target.getTargets", nlohmann::json::object(), 60000);
    if (targets.is_null() || !targets.contains("result")) {
        why = "the browser did not answer on its DevTools pipe (its log follows)";
        return false;
    }
    std::string target;
    for (const auto& t : targets["result"]["targetInfos"])
        if (t.value("type", "") == "page") target = t.value("targetId", "");
    if (target.empty()) {
        why = "the browser has no page";
        return false;
    }
    const auto attached = call("Target.attachToTarget", {{"targetId", target}, {"flatten", true}}, 30000);
    if (attached.is_null() || !attached.contains("result")) {
        why = "cannot attach to the page";
        return false;
    }
    session_ = attached["result"]["sessionId"];
    call("Emulation.setDeviceMetricsOverride",
         {{"width", 1280}, {"height", 720}, {"deviceScaleFactor", 1}, {"mobile", false}}, 30000);
    const auto nav = call("Page.navigate", {{"url", url}}, 60000);
    if (nav.is_null() || nav["result"].contains("errorText")) {
        why = "cannot load " + url + (nav.is_null() ? "" : ": " + nav["result"].value("errorText", ""));
        return false;
    }
    return true;
}

std::string HeadlessBrowser::evaluate(const std::string& expression) {
    const auto r = call("Runtime.evaluate", {{"expression", expression}, {"returnByValue", true}}, 30000);
    // Before the page has run its script the answer carries no value: no key may be assumed.
    const nlohmann::json::json_pointer value("/result/result/value");
    if (!r.is_object() || !r.contains(value) || !r[value].is_string()) return {};
    return r[value];
}

bool HeadlessBrowser::screenshot(const std::string& path) {
    const auto r = call("Page.captureScreenshot", {{"format", "png"}}, 60000);
    if (r.is_null() || !r.contains("result")) return false;
    std::ofstream(path, std::ios::binary) << base64_decode(r["result"]["data"].get<std::string>());
    return true;
}

}  // namespace web_test
