/// @file The settings file's reader and writer on any text. The first four bytes select section,
/// key, value and buffer size; the rest is the text.

#include "fuzz/FuzzInput.h"
#include "q32Base/settings/ProfileFile_p.h"

#include <iterator>

namespace {

using namespace q32::fuzz;

constexpr std::string_view kSections[] = {"VMPolicy", "dispprop", "DumpWnd", "", "A]B"};
constexpr std::string_view kKeys[] = {"MemPercent", "gammaval", "Layout", ";comment", "k k"};
constexpr std::string_view kValues[] = {"1",     "",           "C:\\Temp\\", "\"quoted\"",
                                        "a=b;c", "two\nlines", "[x]"};

std::string fnRead(std::string_view text, std::string_view section, std::string_view key,
                   std::size_t size) {
    std::vector<char> buffer(size); // the sanitizer detects a write past it
    const std::size_t length =
        q32::fnReadProfileString(text, section, key, "default", buffer.data(), size);
    fnCheck(size == 0 ? length == 0 : length < size && buffer[length] == 0, "a value fits");
    return std::string(buffer.data(), length);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4)
        return 0;
    const std::string_view section = kSections[data[0] % std::size(kSections)];
    const std::string_view key = kKeys[data[1] % std::size(kKeys)];
    const std::string_view value = kValues[data[2] % std::size(kValues)];
    const std::string start(reinterpret_cast<const char*>(data) + 4, size - 4);
    fnRead(start, section, key, data[3]);

    std::string text = start;
    const auto edit = q32::fnWriteProfileString(text, section, key, value);
    fnCheck((edit == q32::PROFILE_EDIT::CHANGED) == (text != start), "a change is reported");
    if (edit != q32::PROFILE_EDIT::REFUSED) {
        std::string again = text;
        fnCheck(q32::fnWriteProfileString(again, section, key, value) ==
                    q32::PROFILE_EDIT::UNCHANGED,
                "a second write changes nothing");
        const auto read = fnRead(text, section, key, 64);
        const bool quoted = value == "\"quoted\"";
        fnCheck(read == (quoted ? "quoted" : value.substr(0, value.find('\n'))),
                "what is written is read");
        fnCheck(q32::fnDeleteProfileKey(again, section, key) == q32::PROFILE_EDIT::CHANGED,
                "what is written can be removed");
    }
    for (int i = 0; i < 3; ++i)
        q32::fnDeleteProfileSection(text, section);
    return 0;
}
