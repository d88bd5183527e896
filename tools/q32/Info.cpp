#include "plugins/WaveFile.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/sound/CqWave.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Json.h"
#include "tools/q32/Pictures.h"
#include "tools/q32/Session.h"
#include "tools/q32/Texts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace tool {

namespace {

/// A description in both forms.
struct Description {
    std::string m_szText;
    JsonObject m_Json;
};

std::uint64_t fnMeasureFile(const std::string& path) {
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(path, error);
    return error ? 0 : bytes;
}

bool fnIsWave(const std::string& path) {
    std::array<char, 12> head{};
    std::ifstream file(path, std::ios::binary);
    file.read(head.data(), head.size());
    const std::string_view text(head.data(), head.size());
    return text.starts_with("RIFF") && text.ends_with("WAVE");
}

const char* fnNameFormat(const CqImage& image) {
    for (const CqPictureFormat& format : q32GetPictureFormats())
        if (format.m_eFormat == image.fnGetFioPlugin())
            return format.m_pszName;
    return "";
}

Description fnDescribePicture(const std::string& path, Session& session) {
    CqImage image;
    const FileFacts facts = fnReadFile(path, image, session);
    const std::string title = static_cast<const char*>(image.Title);
    const bool grey = image.BitCount == 8 && image.fnIsGrayScale();
    const std::uint64_t bytes = fnMeasureFile(path);
    const auto text = [](std::uint64_t value) { return std::to_string(value); };
    Description made;
    made.m_szText = path + ": " + fnNameFormat(image) + ", " + text(image.Width) + " x " +
                    text(image.Height) + " pixels, " + text(image.BitCount) + " bits" +
                    (grey                     ? " of grey"
                     : image.PaletteCount > 0 ? " with a palette"
                                              : "") +
                    ", " + std::to_string(image.DpiX) + " x " + std::to_string(image.DpiY) +
                    " dpi, " + text(bytes) + " bytes\n";
    if (!title.empty())
        made.m_szText += "  title: " + title + '\n';
    if (facts.m_bReduced)
        made.m_szText += "  holds more than is read: further pictures, deeper channels, a colour "
                         "profile, or metadata\n";
    made.m_Json.fnAdd("file", path);
    made.m_Json.fnAdd("kind", "picture");
    made.m_Json.fnAdd("format", fnNameFormat(image));
    made.m_Json.fnAdd("width", std::uint64_t{image.Width});
    made.m_Json.fnAdd("height", std::uint64_t{image.Height});
    made.m_Json.fnAdd("bits", std::uint64_t{image.BitCount});
    made.m_Json.fnAdd("palette", std::uint64_t{image.PaletteCount});
    made.m_Json.fnAddFlag("grey", grey);
    made.m_Json.fnAddRaw("dpi", "[" + std::to_string(image.DpiX) + ", " +
                                    std::to_string(image.DpiY) + "]");
    made.m_Json.fnAdd("title", title);
    made.m_Json.fnAdd("bytes", bytes);
    made.m_Json.fnAddFlag("complete", !facts.m_bReduced);
    return made;
}

Description fnDescribeWave(const std::string& path, Session& session) {
    CqWave wave;
    errno = 0;
    const CqWaveFileResult result = q32ReadWave(path.c_str(), wave, &session.fnGetProgress());
    const int error = errno;
    session.fnGetProgress().fnRequire();
    if (!result.fnIsDone())
        throw Failure{fnExplainReading(path, result, error)};
    const WAVEFORMATEX format = wave.fnGetFormat();
    const std::uint64_t frames = wave.fnGetFrameCount();
    std::array<char, 32> seconds{};
    std::snprintf(seconds.data(), seconds.size(), "%.3f",
                  static_cast<double>(frames) / std::max<double>(1, format.nSamplesPerSec));
    Description made;
    made.m_szText = path + ": WAV, " + std::to_string(format.nChannels) + " channels of " +
                    std::to_string(format.wBitsPerSample) + " bits, " +
                    std::to_string(format.nSamplesPerSec) + " Hz, " + seconds.data() + " s, " +
                    std::to_string(fnMeasureFile(path)) + " bytes\n";
    made.m_Json.fnAdd("file", path);
    made.m_Json.fnAdd("kind", "sound");
    made.m_Json.fnAdd("format", "WAV");
    made.m_Json.fnAdd("channels", std::uint64_t{format.nChannels});
    made.m_Json.fnAdd("bits", std::uint64_t{format.wBitsPerSample});
    made.m_Json.fnAdd("rate", std::uint64_t{format.nSamplesPerSec});
    made.m_Json.fnAdd("frames", frames);
    made.m_Json.fnAddRaw("seconds", seconds.data());
    made.m_Json.fnAdd("bytes", fnMeasureFile(path));
    return made;
}

} // namespace

int fnRunInfo(const CommandLine& line) {
    const bool json = line.m_Steps.front().m_Words.fnHas("json");
    Session session(line.m_Common);
    int code = CODE_DONE;
    std::string list;
    for (const std::string& path : line.m_Files) {
        Description made;
        try {
            made =
                fnIsWave(path) ? fnDescribeWave(path, session) : fnDescribePicture(path, session);
        } catch (const Failure& failure) {
            session.fnReport(failure.m_szText);
            made.m_Json.fnAdd("file", path);
            made.m_Json.fnAdd("error", failure.m_szText);
            code = CODE_FAILED;
        }
        session.fnGetProgress().fnClearStatus();
        if (!json)
            std::fputs(made.m_szText.c_str(), stdout);
        list += (list.empty() ? "" : ",\n ") + made.m_Json.fnGetText();
    }
    if (json)
        std::printf("[%s]\n", list.c_str());
    return code;
}

} // namespace tool
