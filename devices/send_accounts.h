#pragma once
// The accounts a user sends with: mail server, sender and user name, upload server and user
// name, kept in the settings store's "Send" section; and their passwords, kept only in the
// desktop's secret store (libsecret) when one answers, else asked each time and kept
// nowhere.
//
// Ownership: the store is borrowed. Threads: settings calls on any thread (the store's own
// rule); the password calls block on the desktop's secret service, so call them from the
// GUI thread only around a user's action, or from a worker.

#include <cstdint>
#include <string>

#include "core/settings_store.h"

namespace osmera {

struct LSendAccounts {
    std::string smtpUrl;  // "smtps://mail.example.org"
    std::string smtpUser;
    std::string from;
    bool smtpPlain = false;
    std::string uploadUrl;  // "ftp://ftp.example.org/music/"
    std::string uploadUser;
    bool createFolders = true;
    std::string format = "mp3";
    int32_t warnMegabytes = 10;  // a mail attachment above this asks first

    static LSendAccounts Load(LSettingsStore& store);
    void Save(LSettingsStore& store) const;
};

// True when a desktop secret service answers on this session's bus.
bool SecretStoreAvailable();
// The password kept for `user` at `server` (the URL's scheme and host); false when there is
// none or no secret store answers.
bool LookupPassword(const std::string& server, const std::string& user, std::string& password);
// Keeps the password in the secret store; false when none answers (nothing is written
// anywhere else).
bool StorePassword(const std::string& server, const std::string& user, const std::string& password);
// "smtps://mail.example.org:465" for "smtps://u@mail.example.org:465/x/".
std::string ServerOf(const std::string& url);

}  // namespace osmera
