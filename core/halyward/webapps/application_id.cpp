#include "halyward/webapps/application_id.hpp"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace halyward {

namespace {

// GLib's limit for application ids, which follows the D-Bus limit for bus names.
constexpr std::size_t kMaxIDLength = 255;
constexpr std::size_t kKeptPrefix = 230;

bool isIDByte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::vector<std::string_view> elements(std::string_view id) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t dot = id.find('.', start);
        parts.push_back(id.substr(start, dot == std::string_view::npos ? dot : dot - start));
        if (dot == std::string_view::npos) return parts;
        start = dot + 1;
    }
}

// FNV-1a: a stable, dependency-free hash; it only has to tell long identifiers apart.
std::uint64_t fnv1a(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

}  // namespace

bool isValidApplicationID(std::string_view id) {
    if (id.empty() || id.size() > kMaxIDLength) return false;
    const std::vector<std::string_view> parts = elements(id);
    if (parts.size() < 2) return false;
    for (const std::string_view part : parts) {
        if (part.empty() || isDigit(part.front())) return false;
        for (const char c : part) {
            if (!isIDByte(c)) return false;
        }
    }
    return true;
}

std::string applicationID(std::string_view bundleIdentifier) {
    if (isValidApplicationID(bundleIdentifier)) return std::string(bundleIdentifier);
    std::string id;
    for (const std::string_view part : elements(bundleIdentifier)) {
        if (part.empty()) continue;
        if (!id.empty()) id += '.';
        if (isDigit(part.front())) id += '_';
        for (const char c : part) {
            if (isIDByte(c)) {
                id += c;
            } else {
                char escaped[4];
                std::snprintf(escaped, sizeof escaped, "_%02x", static_cast<unsigned char>(c));
                id += escaped;
            }
        }
    }
    // A single element (or nothing at all) cannot be an id; put it under our own prefix.
    if (id.find('.') == std::string::npos) id = "app.halyward.web." + (id.empty() ? "_" : id);
    if (id.size() > kMaxIDLength) {
        char hash[20];
        std::snprintf(hash, sizeof hash, "_%016llx",
                      static_cast<unsigned long long>(fnv1a(bundleIdentifier)));
        id.resize(kKeptPrefix);
        while (!id.empty() && id.back() == '.') id.pop_back();
        id += hash;
    }
    return id;
}

}  // namespace halyward
