// The program that plays a sound, on a private sound server.
#include "tests/platforms/PulseWorld.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

class PlayProgram : public PulseTest {
protected:
    PlayProgram() {
        char folder[] = "/tmp/q32playXXXXXX";
        m_Folder = ::mkdtemp(folder);
        s_pServer->fnRestore();
        std::ofstream file(m_Folder / "sound.wav", std::ios::binary);
        const auto put = [&](std::uint32_t value) {
            file.write(reinterpret_cast<const char*>(&value), 4);
        };
        file << "RIFF";
        put(static_cast<std::uint32_t>(36 + m_Sound.m_Samples.size()));
        file << "WAVEfmt ";
        put(16);
        file.write(reinterpret_cast<const char*>(&kSinkFormat), 16);
        file << "data";
        put(static_cast<std::uint32_t>(m_Sound.m_Samples.size()));
        file << m_Sound.m_Samples;
    }
    ~PlayProgram() override {
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
    }

    /// Runs it in the folder; what it wrote to both streams is in `m_Said`.
    int fnRun(const std::string& arguments) {
        const std::string folder = m_Folder.string();
        const std::string command = "cd " + folder + " && HOME=" + folder +
                                    " XDG_CONFIG_HOME=" + folder + " '" Q32_PLAY "' " + arguments +
                                    " >said 2>&1";
        const int status = std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
        std::ostringstream text;
        text << std::ifstream(m_Folder / "said").rdbuf();
        m_Said = text.str();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    fs::path m_Folder;
    TestSound m_Sound{150 * kBytesPerMs};
    std::string m_Said;
};

} // namespace

TEST_F(PlayProgram, PlaysEverySampleAndWaitsForTheEnd) {
    SoundRecorder recorder(*s_pServer);
    bool heard = false; // a machine under load leaves gaps, so the take is repeated
    for (int take = 0; take < 5 && !heard; ++take) {
        const std::size_t from = recorder.fnGetSize();
        EXPECT_EQ(fnRun("sound.wav " + s_pServer->fnGetAddress()), 0) << m_Said;
        EXPECT_EQ(m_Said, "2 channels, 16 bits, 44100 Hz, 6600 frames\nplayed\n");
        recorder.fnWaitForMore(200 * kBytesPerMs);
        heard = recorder.fnGetBytes().find(m_Sound.m_Samples, from) != std::string::npos;
    }
    EXPECT_TRUE(heard);
}

TEST_F(PlayProgram, SaysWhatItCannotDo) {
    EXPECT_EQ(fnRun("sound.wav unix:/nowhere/native"), 1);
    EXPECT_NE(m_Said.find("Connection refused"), std::string::npos) << m_Said;
    EXPECT_EQ(m_Said.find("played"), std::string::npos) << m_Said;
    EXPECT_EQ(fnRun("missing.wav"), 1);
    EXPECT_EQ(m_Said, "Unable to open the file [missing.wav].\n");
}
