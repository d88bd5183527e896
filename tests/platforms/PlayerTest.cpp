// The example as people run it, on a server of the test's own.
#include "tests/platforms/PulseWorld.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class Player : public PulseTest {
protected:
    Player() {
        char folder[] = "/tmp/q32playerXXXXXX";
        m_Folder = ::mkdtemp(folder);
        std::ofstream file(m_Folder / "sound.wav", std::ios::binary);
        const auto put = [&](std::uint32_t value, std::streamsize bytes) {
            file.write(reinterpret_cast<const char*>(&value), bytes);
        };
        file << "RIFF";
        put(static_cast<std::uint32_t>(36 + m_Sound.m_Samples.size()), 4);
        file << "WAVEfmt ";
        put(16, 4);
        file.write(reinterpret_cast<const char*>(&kSinkFormat), 16);
        file << "data";
        put(static_cast<std::uint32_t>(m_Sound.m_Samples.size()), 4);
        file << m_Sound.m_Samples;
    }
    ~Player() override {
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
    }

    ChildProcess fnRun(std::vector<std::string> arguments, const std::string& server) {
        arguments.insert(arguments.begin(), Q32_TEST_PLAYER);
        arguments.push_back((m_Folder / "sound.wav").string());
        std::vector<std::string> environment = s_pServer->fnGetEnvironment();
        environment.push_back("PULSE_SERVER=" + server);
        return {arguments, environment};
    }

    /// Runs it with keys that come through a pipe, which then ends.
    int fnObey(const std::string& keys) {
        const std::string sound = (m_Folder / "sound.wav").string();
        std::vector<std::string> environment = s_pServer->fnGetEnvironment();
        environment.push_back("PULSE_SERVER=" + s_pServer->fnGetAddress());
        const std::string command =
            "printf '" + keys + "' | '" Q32_TEST_PLAYER "' --loop '" + sound + "'";
        return ChildProcess({"/bin/sh", "-c", command}, environment).fnWait();
    }

    fs::path m_Folder;
    TestSound m_Sound{150 * kBytesPerMs};
};

} // namespace

TEST_F(Player, PlaysAFileToItsEnd) {
    SoundRecorder recorder(*s_pServer);
    EXPECT_EQ(fnRun({}, s_pServer->fnGetAddress()).fnWait(), 0);
    EXPECT_TRUE(fnAwait([&] { return fnCount(recorder.fnGetBytes(), m_Sound.m_Samples) == 1; }));
}

TEST_F(Player, ASignalEndsALoopInOrder) {
    SoundRecorder recorder(*s_pServer);
    ChildProcess player = fnRun({"--loop"}, s_pServer->fnGetAddress());
    EXPECT_TRUE(fnAwait([&] { return fnCount(recorder.fnGetBytes(), m_Sound.m_Samples) >= 2; }));
    EXPECT_TRUE(player.fnIsRunning());
    player.fnSignal(SIGTERM);
    EXPECT_EQ(player.fnWait(), 0);
}

TEST_F(Player, EndsWhenItStandsStillAndNoKeyCanCome) {
    EXPECT_EQ(fnObey("s"), 0);
    EXPECT_EQ(fnObey(" "), 0);
    EXPECT_EQ(fnObey("ss s"), 0);
    EXPECT_EQ(fnObey("q"), 0);
}

TEST_F(Player, WithoutADeviceItFailsButDrawsThePicture) {
    const std::string picture = (m_Folder / "sound.png").string();
    EXPECT_EQ(fnRun({"--picture", picture}, "unix:/nowhere/native").fnWait(), 1);
    EXPECT_GT(fs::file_size(picture), 100u);
    EXPECT_EQ(fnRun({"--no-play", "--picture", picture}, "unix:/nowhere/native").fnWait(), 0);
    EXPECT_EQ(fnRun({"--unknown"}, "unix:/nowhere/native").fnWait(), 2);
}
