// Send accounts in the settings store, passwords in the desktop's secret store.
#include "devices/send_accounts.h"

#include <libsecret/secret.h>
#include <sys/stat.h>

#include <cstdlib>

#include "core/trace.h"

namespace osmera {

namespace {

const char kSection[] = "Send";

const SecretSchema* Schema() {
    static const SecretSchema schema = {"org.quillon.Osmera.Send",
                                        SECRET_SCHEMA_NONE,
                                        {
                                            {"server", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                            {"user", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                            {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING},
                                        }};
    return &schema;
}

}  // namespace

LSendAccounts LSendAccounts::Load(LSettingsStore& store) {
    LSendAccounts a;
    a.smtpUrl = store.GetText(kSection, "SmtpServer", a.smtpUrl);
    a.smtpUser = store.GetText(kSection, "SmtpUser", a.smtpUser);
    a.from = store.GetText(kSection, "From", a.from);
    a.smtpPlain = store.GetInt(kSection, "SmtpPlain", 0) != 0;
    a.uploadUrl = store.GetText(kSection, "UploadServer", a.uploadUrl);
    a.uploadUser = store.GetText(kSection, "UploadUser", a.uploadUser);
    a.createFolders = store.GetInt(kSection, "CreateFolders", 1) != 0;
    a.format = store.GetText(kSection, "Format", a.format);
    a.warnMegabytes = store.GetInt(kSection, "WarnMegabytes", a.warnMegabytes);
    return a;
}

void LSendAccounts::Save(LSettingsStore& store) const {
    store.SetText(kSection, "SmtpServer", smtpUrl);
    store.SetText(kSection, "SmtpUser", smtpUser);
    store.SetText(kSection, "From", from);
    store.SetInt(kSection, "SmtpPlain", smtpPlain ? 1 : 0);
    store.SetText(kSection, "UploadServer", uploadUrl);
    store.SetText(kSection, "UploadUser", uploadUser);
    store.SetInt(kSection, "CreateFolders", createFolders ? 1 : 0);
    store.SetText(kSection, "Format", format);
    store.SetInt(kSection, "WarnMegabytes", warnMegabytes);
}

std::string ServerOf(const std::string& url) {
    const size_t scheme = url.find("://");
    if (scheme == std::string::npos)
        return url;
    size_t host = scheme + 3;
    const size_t slash = url.find('/', host);
    const size_t at = url.find('@', host);
    if (at != std::string::npos && (slash == std::string::npos || at < slash))
        host = at + 1;
    return url.substr(0, scheme + 3) +
           url.substr(host, slash == std::string::npos ? std::string::npos : slash - host);
}

bool SecretStoreAvailable() {
    // Without a session bus libsecret would try to start one, which may wait or fail
    // noisily; a desktop session always has one.
    const char* bus = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (bus == nullptr || *bus == 0) {
        const char* runtime = std::getenv("XDG_RUNTIME_DIR");
        struct stat st;
        if (runtime == nullptr || stat((std::string(runtime) + "/bus").c_str(), &st) != 0)
            return false;
    }
    GError* error = nullptr;
    SecretService* service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, &error);
    if (service == nullptr) {
        LTrace(std::string("SecretStoreAvailable ") + (error ? error->message : "no service"));
        if (error)
            g_error_free(error);
        return false;
    }
    g_object_unref(service);
    return true;
}

bool LookupPassword(const std::string& server, const std::string& user, std::string& password) {
    if (!SecretStoreAvailable())
        return false;
    GError* error = nullptr;
    gchar* found = secret_password_lookup_sync(Schema(), nullptr, &error, "server", server.c_str(),
                                               "user", user.c_str(), nullptr);
    if (error) {
        LTrace(std::string("LookupPassword ") + error->message);
        g_error_free(error);
    }
    if (found == nullptr)
        return false;
    password = found;
    secret_password_free(found);
    return true;
}

bool StorePassword(const std::string& server, const std::string& user,
                   const std::string& password) {
    if (!SecretStoreAvailable())
        return false;
    GError* error = nullptr;
    const std::string label = "Osmera: " + user + " at " + server;
    const gboolean ok = secret_password_store_sync(
        Schema(), SECRET_COLLECTION_DEFAULT, label.c_str(), password.c_str(), nullptr, &error,
        "server", server.c_str(), "user", user.c_str(), nullptr);
    if (error) {
        LTrace(std::string("StorePassword ") + error->message);
        g_error_free(error);
    }
    return ok != 0;
}

}  // namespace osmera
