// Header encodings and names of an email sent with an audio attachment.
#include "devices/mime_message.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <random>

namespace osmera {

namespace {

const char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Base64(const std::string& in) {
    std::string out;
    size_t i = 0;
    for (; i + 2 < in.size(); i += 3) {
        const uint32_t v = static_cast<uint8_t>(in[i]) << 16 |
                           static_cast<uint8_t>(in[i + 1]) << 8 | static_cast<uint8_t>(in[i + 2]);
        out += kBase64[v >> 18];
        out += kBase64[(v >> 12) & 63];
        out += kBase64[(v >> 6) & 63];
        out += kBase64[v & 63];
    }
    if (i < in.size()) {
        uint32_t v = static_cast<uint8_t>(in[i]) << 16;
        if (i + 1 < in.size())
            v |= static_cast<uint8_t>(in[i + 1]) << 8;
        out += kBase64[v >> 18];
        out += kBase64[(v >> 12) & 63];
        out += i + 1 < in.size() ? kBase64[(v >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

bool IsPlainAscii(const std::string& text) {
    for (char c : text) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || u > 0x7e)
            return false;
    }
    return true;
}

// Length in bytes of the UTF-8 sequence that starts with `lead` (1 for a stray byte).
size_t SequenceLength(unsigned char lead) {
    if (lead >= 0xf0)
        return 4;
    if (lead >= 0xe0)
        return 3;
    if (lead >= 0xc0)
        return 2;
    return 1;
}

}  // namespace

bool HasLineEnd(const std::string& text) {
    return text.find_first_of("\r\n") != std::string::npos;
}

std::string EncodeHeaderText(const std::string& text) {
    if (IsPlainAscii(text))
        return text;
    // 75 characters per word: "=?UTF-8?B?" + "?=" leave 63 for base64, that is 45 bytes;
    // words split between whole UTF-8 sequences so each decodes on its own.
    std::string out;
    size_t i = 0;
    while (i < text.size()) {
        size_t end = i;
        while (end < text.size()) {
            const size_t n = SequenceLength(static_cast<unsigned char>(text[end]));
            if (end + n - i > 45)
                break;
            end += n;
        }
        if (end == i)
            end = std::min(text.size(), i + 1);
        if (!out.empty())
            out += "\r\n ";
        out += "=?UTF-8?B?" + Base64(text.substr(i, end - i)) + "?=";
        i = end;
    }
    return out;
}

std::string MailDate(std::time_t when) {
    static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm tm{};
    gmtime_r(&when, &tm);
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%s, %02d %s %04d %02d:%02d:%02d +0000", kDays[tm.tm_wday],
                  tm.tm_mday, kMonths[tm.tm_mon], tm.tm_year + 1900, tm.tm_hour, tm.tm_min,
                  tm.tm_sec);
    return buffer;
}

std::string NewMessageId(const std::string& host) {
    std::random_device device;
    std::mt19937_64 random((static_cast<uint64_t>(device()) << 32) ^ device() ^
                           static_cast<uint64_t>(std::time(nullptr)));
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%016llx.%08llx",
                  static_cast<unsigned long long>(random()),
                  static_cast<unsigned long long>(std::time(nullptr)));
    return "<" + std::string(buffer) + "@" + (host.empty() ? "osmera.invalid" : host) + ">";
}

std::string ContentTypeForFormat(const std::string& format) {
    static const struct {
        const char* format;
        const char* type;
    } kTypes[] = {
        {"wav", "audio/wav"},   {"wav-float", "audio/wav"}, {"flac", "audio/flac"},
        {"ogg", "audio/ogg"},   {"opus", "audio/ogg"},      {"mp3", "audio/mpeg"},
        {"aiff", "audio/aiff"}, {"aifc", "audio/aiff"},     {"au", "audio/basic"},
        {"caf", "audio/x-caf"}, {"w64", "audio/x-w64"},     {"rf64", "audio/x-rf64"},
        {"gsm", "audio/x-gsm"}, {"vox", "audio/x-vox"},     {"raw", "application/octet-stream"},
    };
    for (const auto& t : kTypes)
        if (format == t.format)
            return t.type;
    return "application/octet-stream";
}

std::string AttachmentDisposition(const std::string& name) {
    std::string quoted;
    const bool plain = IsPlainAscii(name);
    for (char c : name) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    if (plain)
        return "Content-Disposition: attachment; filename=\"" + quoted + "\"";
    std::string percent;
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (std::isalnum(u) || std::strchr("-._~", c) != nullptr) {
            percent += c;
        } else {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", u);
            percent += hex;
        }
    }
    // Programs that do not read the RFC 2231 form get the name with its other letters as '_'.
    std::string ascii;
    for (char c : quoted)
        ascii += static_cast<unsigned char>(c) < 0x80 ? c : '_';
    return "Content-Disposition: attachment; filename*=UTF-8''" + percent + "; filename=\"" +
           ascii + "\"";
}

bool CheckMailAddress(const std::string& address, std::string* why) {
    const size_t at = address.find('@');
    std::string problem;
    if (address.empty())
        problem = "no address was given";
    else if (at == std::string::npos || at == 0 || at + 1 == address.size() ||
             address.find('@', at + 1) != std::string::npos)
        problem = "\"" + address + "\" is not a mail address (name@domain)";
    else if (address.find_first_of(" \t\r\n<>,;\"") != std::string::npos || !IsPlainAscii(address))
        problem = "\"" + address + "\" holds characters a mail address cannot";
    if (!problem.empty() && why != nullptr)
        *why = problem;
    return problem.empty();
}

}  // namespace osmera
