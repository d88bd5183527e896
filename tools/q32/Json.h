/// @file Lines of JSON.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

/// A string with its quotes. Bytes that aren't UTF-8 become the replacement character.
std::string fnQuoteJson(std::string_view text);

/// One object, written member by member. Keys need no escapes.
class JsonObject {
public:
    void fnAdd(const char* key, std::string_view value) { fnAddRaw(key, fnQuoteJson(value)); }
    void fnAdd(const char* key, const char* value) { fnAdd(key, std::string_view(value)); }
    void fnAdd(const char* key, std::uint64_t value) { fnAddRaw(key, std::to_string(value)); }
    void fnAddFlag(const char* key, bool value) { fnAddRaw(key, value ? "true" : "false"); }
    /// @param value  is JSON
    void fnAddRaw(const char* key, const std::string& value);

    std::string fnGetText() const { return "{" + m_szMembers + "}"; }

private:
    std::string m_szMembers;
};

} // namespace tool
