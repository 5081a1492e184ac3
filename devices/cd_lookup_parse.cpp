#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <sstream>

#include "devices/cd_lookup.h"

namespace osmera {

namespace {

bool Named(const xmlNode* n, const char* name) {
    return n != nullptr && n->type == XML_ELEMENT_NODE &&
           std::strcmp(reinterpret_cast<const char*>(n->name), name) == 0;
}

const xmlNode* Child(const xmlNode* n, const char* name) {
    for (const xmlNode* c = n ? n->children : nullptr; c != nullptr; c = c->next)
        if (Named(c, name))
            return c;
    return nullptr;
}

std::string Text(const xmlNode* n) {
    if (n == nullptr)
        return {};
    xmlChar* s = xmlNodeGetContent(n);
    std::string out = s ? reinterpret_cast<const char*>(s) : "";
    xmlFree(s);
    return out;
}

std::string Attr(const xmlNode* n, const char* name) {
    xmlChar* s = xmlGetProp(n, reinterpret_cast<const xmlChar*>(name));
    std::string out = s ? reinterpret_cast<const char*>(s) : "";
    xmlFree(s);
    return out;
}

// The names of an artist-credit joined as they are credited ("A & B").
std::string Credit(const xmlNode* credit) {
    std::string out;
    for (const xmlNode* c = credit ? credit->children : nullptr; c != nullptr; c = c->next) {
        if (!Named(c, "name-credit"))
            continue;
        const xmlNode* name = Child(c, "name");
        out += name ? Text(name) : Text(Child(Child(c, "artist"), "name"));
        out += Attr(c, "joinphrase");
    }
    return out;
}

bool HoldsDisc(const xmlNode* medium, const std::string& discId) {
    for (const xmlNode* d = Child(Child(medium, "disc-list"), "disc"); d != nullptr; d = d->next)
        if (Named(d, "disc") && Attr(d, "id") == discId)
            return true;
    return false;
}

}  // namespace

bool ParseMusicBrainzDisc(const std::string& xml, const std::string& discId,
                          std::vector<LCdRelease>& out) {
    xmlDoc* doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "answer.xml", nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (doc == nullptr)
        return false;
    const xmlNode* root = xmlDocGetRootElement(doc);
    const xmlNode* disc = Named(root, "metadata") ? Child(root, "disc") : nullptr;
    if (disc == nullptr) {
        xmlFreeDoc(doc);
        return false;
    }
    for (const xmlNode* r = Child(Child(disc, "release-list"), "release"); r != nullptr;
         r = r->next) {
        if (!Named(r, "release"))
            continue;
        LCdRelease rel;
        rel.id = Attr(r, "id");
        rel.title = Text(Child(r, "title"));
        rel.artist = Credit(Child(r, "artist-credit"));
        rel.year = Text(Child(r, "date")).substr(0, 4);
        for (const xmlNode* m = Child(Child(r, "medium-list"), "medium"); m != nullptr;
             m = m->next) {
            if (!Named(m, "medium") || !HoldsDisc(m, discId))
                continue;
            for (const xmlNode* t = Child(Child(m, "track-list"), "track"); t != nullptr;
                 t = t->next) {
                if (!Named(t, "track"))
                    continue;
                const xmlNode* rec = Child(t, "recording");
                const xmlNode* title = Child(t, "title");
                rel.trackTitles.push_back(Text(title ? title : Child(rec, "title")));
                const xmlNode* credit = Child(t, "artist-credit");
                std::string artist = Credit(credit ? credit : Child(rec, "artist-credit"));
                rel.trackArtists.push_back(artist == rel.artist ? std::string() : artist);
            }
            break;
        }
        out.push_back(std::move(rel));
    }
    xmlFreeDoc(doc);
    return true;
}

bool ParseCddbQuery(const std::string& text, std::vector<std::string>& entries) {
    std::istringstream in(text);
    std::string line;
    if (!std::getline(in, line) || line.size() < 3)
        return false;
    const std::string code = line.substr(0, 3);
    if (code == "202")
        return true;
    if (code == "200") {
        std::istringstream words(line.substr(3));
        std::string category, id;
        words >> category >> id;
        if (id.empty())
            return false;
        entries.push_back(category + " " + id);
        return true;
    }
    if (code != "210" && code != "211")
        return false;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line == ".")
            return true;
        std::istringstream words(line);
        std::string category, id;
        words >> category >> id;
        if (!id.empty())
            entries.push_back(category + " " + id);
    }
    return true;
}

bool ParseCddbRead(const std::string& text, LCdRelease& out) {
    std::istringstream in(text);
    std::string line;
    if (!std::getline(in, line) || line.compare(0, 3, "210") != 0)
        return false;
    std::istringstream words(line.substr(3));
    std::string category, id;
    words >> category >> id;
    out.id = category + "/" + id;
    std::string dtitle;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line == ".")
            break;
        const size_t eq = line.find('=');
        if (line.empty() || line[0] == '#' || eq == std::string::npos)
            continue;
        const std::string key = line.substr(0, eq);
        const std::string value = line.substr(eq + 1);
        // Long values continue on further lines of the same key.
        if (key == "DTITLE") {
            dtitle += value;
        } else if (key == "DYEAR") {
            out.year = value;
        } else if (key.compare(0, 6, "TTITLE") == 0) {
            const size_t n = std::strtoul(key.c_str() + 6, nullptr, 10);
            if (n >= 100)
                continue;
            if (out.trackTitles.size() <= n)
                out.trackTitles.resize(n + 1);
            out.trackTitles[n] += value;
        }
    }
    const size_t slash = dtitle.find(" / ");
    out.artist = slash == std::string::npos ? std::string() : dtitle.substr(0, slash);
    out.title = slash == std::string::npos ? dtitle : dtitle.substr(slash + 3);
    out.trackArtists.assign(out.trackTitles.size(), std::string());
    return true;
}

}  // namespace osmera
