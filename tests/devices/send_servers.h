#pragma once
// The loopback servers of the send tests: fixtures/send_servers.py (Debian's python3 with
// aiosmtpd and pyftpdlib) started once per test program with a self-signed certificate for
// 127.0.0.1 made by openssl, and stopped when the program ends. See the script for what
// each server does.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/test_support.h"

extern char** environ;

namespace osmera::testing {

inline std::string FixturePath(const std::string& name) {
    return std::string(OSMERA_SEND_FIXTURES) + "/" + name;
}

class SendServers {
  public:
    static SendServers& Get() {
        static SendServers servers;
        return servers;
    }
    // The port of the server called `name`; 0 when the servers did not come up.
    int Port(const std::string& name) const {
        auto it = ports_.find(name);
        return it == ports_.end() ? 0 : it->second;
    }
    std::string Url(const std::string& scheme, const std::string& name,
                    const std::string& path = "") const {
        return scheme + "://127.0.0.1:" + std::to_string(Port(name)) + path;
    }
    std::string cert;
    TempDir mail;     // the messages the mail servers accepted
    TempDir ftpRoot;  // the FTP server's home

    // The newest message's file, "" when none arrived.
    std::string LastMail() const {
        int n = 0;
        while (std::filesystem::exists(mail.File(std::to_string(n + 1) + ".eml")))
            ++n;
        return n == 0 ? std::string() : mail.File(std::to_string(n));
    }

    ~SendServers() {
        if (pid_ != 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }

  private:
    SendServers() {
        cert = keys_.File("cert.pem");
        const std::string key = keys_.File("key.pem");
        const std::string command =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 "
            "-subj /CN=localhost -addext subjectAltName=IP:127.0.0.1,DNS:localhost -keyout '" +
            key + "' -out '" + cert + "' >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0)
            return;
        const std::string portFile = keys_.File("ports");
        std::vector<std::string> words = {"/usr/bin/python3",
                                          FixturePath("send_servers.py"),
                                          portFile,
                                          mail.Path().string(),
                                          ftpRoot.Path().string(),
                                          cert,
                                          key};
        std::vector<char*> argv;
        for (std::string& w : words)
            argv.push_back(w.data());
        argv.push_back(nullptr);
        if (posix_spawn(&pid_, argv[0], nullptr, nullptr, argv.data(), environ) != 0) {
            pid_ = 0;
            return;
        }
        for (int i = 0; i < 1000 && ports_.empty(); ++i) {
            std::istringstream lines(ReadText(portFile));
            std::string name;
            int port;
            while (lines >> name >> port)
                ports_[name] = port;
            if (ports_.empty())
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    TempDir keys_;
    pid_t pid_ = 0;
    std::map<std::string, int> ports_;
};

// Runs fixtures/parse_mail.py on a received mail: its key=value lines, the attachment's
// bytes written to `attachmentOut`.
inline std::string RunParse(const std::string& mail, const std::string& attachmentOut) {
    const std::string command = "/usr/bin/python3 '" + FixturePath("parse_mail.py") + "' '" + mail +
                                "' '" + attachmentOut + "' 2>&1";
    std::string out;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buffer[4096];
        size_t n;
        while ((n = fread(buffer, 1, sizeof buffer, p)) > 0)
            out.append(buffer, n);
        pclose(p);
    }
    return out;
}

}  // namespace osmera::testing
