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

const char* fnNameFormat(PICTURE_FORMAT number) {
    for (const CqPictureFormat& format : q32GetPictureFormats())
        if (format.m_eFormat == number)
            return format.m_pszName;
    return "";
}

std::string fnListInJson(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts)
        list += (list.empty() ? "" : ", ") + fnQuoteJson(text);
    return "[" + list + "]";
}

/// Reads all of a picture, since damage to its pixels doesn't show in its headers.
void fnCheckPicture(const std::string& path, Session& session) {
    CqImage image;
    fnReadFile(path, image, session);
}

Description fnDescribePicture(const std::string& path, bool check, Session& session) {
    if (check)
        fnCheckPicture(path, session);
    CqPictureFacts facts;
    const unsigned int parts = fnDescribeFile(path, facts, session);
    const std::string title = static_cast<const char*>(facts.m_strTitle);
    const std::uint64_t bytes = fnMeasureFile(path);
    const auto text = [](auto value) { return std::to_string(value); };
    Description made;
    made.m_szText = path + ": " + fnNameFormat(facts.m_eFormat) + ", " + text(facts.m_nWidth) +
                    " x " + text(facts.m_nHeight) + " pixels, " + text(facts.m_nBitCount) +
                    " bits" +
                    (facts.m_bGrey         ? " of grey"
                     : facts.m_nColors > 0 ? " with a palette"
                                           : "") +
                    ", " + text(facts.m_nDpiX) + " x " + text(facts.m_nDpiY) + " dpi, " +
                    text(bytes) + " bytes\n";
    if (!title.empty())
        made.m_szText += "  title: " + title + '\n';
    if (parts != 0)
        made.m_szText += "  " + fnExplainParts(parts) + '\n';
    made.m_Json.fnAdd("file", path);
    made.m_Json.fnAdd("kind", "picture");
    made.m_Json.fnAdd("format", fnNameFormat(facts.m_eFormat));
    made.m_Json.fnAdd("width", std::uint64_t{facts.m_nWidth});
    made.m_Json.fnAdd("height", std::uint64_t{facts.m_nHeight});
    made.m_Json.fnAdd("bits", std::uint64_t{facts.m_nBitCount});
    made.m_Json.fnAdd("palette", std::uint64_t{facts.m_nColors});
    made.m_Json.fnAddFlag("grey", facts.m_bGrey);
    made.m_Json.fnAddRaw("dpi", "[" + text(facts.m_nDpiX) + ", " + text(facts.m_nDpiY) + "]");
    made.m_Json.fnAdd("title", title);
    made.m_Json.fnAdd("bytes", bytes);
    made.m_Json.fnAddFlag("complete", parts == 0);
    made.m_Json.fnAddRaw("unread", fnListInJson(fnNameParts(parts)));
    return made;
}

CqWaveFileResult fnReadSound(const std::string& path, bool check, CqWaveFacts& facts,
                             Session& session) {
    Progress& progress = session.fnGetProgress();
    progress.fnBegin("reading " + path);
    if (check) {
        CqWave wave;
        CqWaveFileResult result = q32ReadWave(path.c_str(), wave, &progress);
        if (!result.fnIsDone())
            return result;
    }
    return q32DescribeWave(path.c_str(), facts, {}, &progress);
}

Description fnDescribeWave(const std::string& path, bool check, Session& session) {
    CqWaveFacts facts;
    errno = 0;
    const CqWaveFileResult result = fnReadSound(path, check, facts, session);
    const int error = errno;
    session.fnGetProgress().fnRequire();
    if (!result.fnIsDone())
        throw Failure{fnExplainReading(path, result, error)};
    const WAVEFORMATEX& format = facts.m_Format;
    const std::uint64_t frames = facts.m_nFrames;
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
    const Words& words = line.m_Steps.front().m_Words;
    const bool json = words.fnHas("json");
    const bool check = words.fnHas("check");
    Session session(line.m_Common);
    int code = CODE_DONE;
    std::string list;
    for (const std::string& path : line.m_Files) {
        Description made;
        try {
            made = fnIsWave(path) ? fnDescribeWave(path, check, session)
                                  : fnDescribePicture(path, check, session);
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
