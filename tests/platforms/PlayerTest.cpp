// The example program, run on a private sound server.
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PulseWorld.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <string_view>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// A stream with two ends, the test's and the player's.
class Stream {
public:
    Stream(int mine, int players) : m_nMine(mine), m_nPlayers(players) {}
    static Stream fnToPlayer() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        return {ends[1], ends[0]};
    }
    static Stream fnFromPlayer() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        return {ends[0], ends[1]};
    }
    /// A terminal; the player's end reports its settings.
    static Stream fnTerminal() {
        const int mine = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(::grantpt(mine) + ::unlockpt(mine), 0);
        char name[64] = "";
        EXPECT_EQ(::ptsname_r(mine, name, sizeof name), 0);
        return {mine, ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC)};
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() {
        fnClose(m_nMine);
        fnClose(m_nPlayers);
    }

    int fnGetPlayers() const { return m_nPlayers; }
    /// Leaves the player's end to the player only.
    void fnGive() { fnClose(m_nPlayers); }
    /// Ends the input.
    void fnEnd() { fnClose(m_nMine); }
    void fnWrite(std::string_view text) const {
        EXPECT_EQ(::write(m_nMine, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    /// Reads to the end.
    std::string fnReadAll() {
        while (fnReadMore())
            ;
        return m_szRead;
    }
    /// Reads until the text appears, and discards everything up to its end.
    bool fnAwait(std::string_view text) {
        for (;;) {
            const std::size_t at = m_szRead.find(text);
            if (at != std::string::npos) {
                m_szRead.erase(0, at + text.size());
                return true;
            }
            if (!fnReadMore())
                return false;
        }
    }

private:
    static void fnClose(int& end) {
        if (end >= 0)
            ::close(std::exchange(end, -1));
    }
    bool fnReadMore() {
        pollfd event = {m_nMine, POLLIN, 0};
        if (::poll(&event, 1, 20'000) <= 0)
            return false;
        char piece[4096];
        const ssize_t count = ::read(m_nMine, piece, sizeof piece);
        if (count > 0)
            m_szRead.append(piece, static_cast<std::size_t>(count));
        return count > 0;
    }

    int m_nMine;
    int m_nPlayers;
    std::string m_szRead;
};

class Player : public PulseTest {
protected:
    Player() {
        char folder[] = "/tmp/q32playerXXXXXX";
        m_Folder = ::mkdtemp(folder);
        s_pServer->fnRestore();
        fnWriteSound(m_Sound.m_Samples);
    }
    ~Player() override {
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
    }

    void fnWriteSound(const std::string& samples) const {
        std::ofstream file(m_Folder / "sound.wav", std::ios::binary);
        const auto put = [&](std::uint32_t value, std::streamsize bytes) {
            file.write(reinterpret_cast<const char*>(&value), bytes);
        };
        file << "RIFF";
        put(static_cast<std::uint32_t>(36 + samples.size()), 4);
        file << "WAVEfmt ";
        put(16, 4);
        file.write(reinterpret_cast<const char*>(&kSinkFormat), 16);
        file << "data";
        put(static_cast<std::uint32_t>(samples.size()), 4);
        file << samples;
    }
    std::string fnSoundPath() const { return (m_Folder / "sound.wav").string(); }

    ChildProcess fnRun(std::vector<std::string> arguments, const std::string& server,
                       const ChildProcess::Streams& streams = {}) {
        arguments.insert(arguments.begin(), Q32_TEST_PLAYER);
        std::vector<std::string> environment = s_pServer->fnGetEnvironment();
        environment.push_back("PULSE_SERVER=" + server);
        return {arguments, environment, streams};
    }
    ChildProcess fnPlay(std::vector<std::string> arguments = {},
                        const ChildProcess::Streams& streams = {}) {
        arguments.push_back(fnSoundPath());
        return fnRun(arguments, s_pServer->fnGetAddress(), streams);
    }
    /// Runs it with keys from a pipe that then ends.
    int fnObey(const std::string& keys) {
        Stream input = Stream::fnToPlayer();
        input.fnWrite(keys);
        ChildProcess player = fnPlay({"--loop"}, {.m_nInput = input.fnGetPlayers()});
        input.fnEnd();
        return player.fnWait();
    }
    /// The output of a run that exits with `code`.
    std::string fnSays(const std::vector<std::string>& arguments, int code) {
        Stream said = Stream::fnFromPlayer();
        ChildProcess player =
            fnRun(arguments, "unix:/nowhere/native", {.m_nError = said.fnGetPlayers()});
        said.fnGive();
        const std::string text = said.fnReadAll();
        EXPECT_EQ(player.fnWait(), code) << text;
        return text;
    }

    fs::path m_Folder;
    TestSound m_Sound{150 * kBytesPerMs};
};

/// A looping player that gets its keys one at a time.
class PlayerKeys : public Player {
protected:
    explicit PlayerKeys(std::vector<std::string> options = {"--loop"})
        : m_Options(std::move(options)) {}
    void SetUp() override {
        m_Player = fnPlay(m_Options, {.m_nInput = m_Input.fnGetPlayers()});
        m_Input.fnGive();
        ASSERT_TRUE(fnAwaitStreams("Corked: no"));
    }
    void fnPress(std::string_view keys) const { m_Input.fnWrite(keys); }

    static bool fnAwaitControl(const std::vector<std::string>& arguments, const std::string& text) {
        return fnAwait(
            [&] { return s_pServer->fnControl(arguments).find(text) != std::string::npos; });
    }
    static bool fnAwaitStreams(const std::string& text) {
        return fnAwaitControl({"list", "sink-inputs"}, text);
    }
    bool fnAwaitMute(const std::string& is) const {
        return fnAwaitControl(m_ShowMute, "Mute: " + is);
    }
    /// Waits for the volume of the two sides, of 65535; the server's own scale ends at 65536.
    bool fnAwaitVolume(std::uint64_t left, std::uint64_t right) const {
        const auto scale = [](std::uint64_t value) {
            return std::to_string((value * 65536 + 32767) / 65535) + ' ';
        };
        return fnAwait([&] {
            const std::string shown = s_pServer->fnControl(m_ShowVolume);
            return shown.find("front-left: " + scale(left)) != std::string::npos &&
                   shown.find("front-right: " + scale(right)) != std::string::npos;
        });
    }

    const std::vector<std::string> m_Options;
    std::vector<std::string> m_ShowVolume{"list", "sink-inputs"};
    std::vector<std::string> m_ShowMute = m_ShowVolume;
    Stream m_Input = Stream::fnToPlayer();
    ChildProcess m_Player;
};

/// The same with keys for the volume of the machine.
class PlayerMachineKeys : public PlayerKeys {
protected:
    PlayerMachineKeys() : PlayerKeys({"--loop", "--machine-volume"}) {
        m_ShowVolume = {"get-sink-volume", "lab"};
        m_ShowMute = {"get-sink-mute", "lab"};
    }
};

} // namespace

TEST_F(Player, PlaysAFileToItsEnd) {
    SoundRecorder recorder(*s_pServer);
    // A gap is caused by a machine under load, so the take is repeated.
    int heard = 0;
    for (int take = 0; take < 5 && heard == 0; ++take) {
        const std::size_t from = recorder.fnGetSize();
        EXPECT_EQ(fnPlay().fnWait(), 0);
        recorder.fnWaitForMore(200 * kBytesPerMs);
        heard = fnCount(recorder.fnGetBytes().substr(from), m_Sound.m_Samples);
    }
    EXPECT_EQ(heard, 1);
}

TEST_F(Player, ASignalEndsALoopCleanly) {
    SoundRecorder recorder(*s_pServer);
    ChildProcess player = fnPlay({"--loop"});
    EXPECT_TRUE(fnAwait([&] { return fnCount(recorder.fnGetBytes(), m_Sound.m_Samples) >= 2; }));
    EXPECT_TRUE(player.fnIsRunning());
    player.fnSignal(SIGTERM);
    EXPECT_EQ(player.fnWait(), 0);
}

TEST_F(Player, ReportsThatTheServerIsGoneAndFails) {
    SoundRecorder recorder(*s_pServer);
    Stream said = Stream::fnFromPlayer();
    ChildProcess player = fnPlay({"--loop"}, {.m_nError = said.fnGetPlayers()});
    said.fnGive();
    EXPECT_TRUE(fnAwait([&] { return fnCount(recorder.fnGetBytes(), m_Sound.m_Samples) >= 2; }));
    s_pServer->fnKill();
    EXPECT_TRUE(said.fnReadAll().starts_with("The sound device has gone: "));
    EXPECT_EQ(player.fnWait(), 1);
    s_pServer->fnStart();
}

TEST_F(Player, ExitsWhenItIsIdleAndNoKeyCanArrive) {
    for (const char* keys : {"s", " ", "ss s", "q", "\x1b", "sp", "ls"})
        EXPECT_EQ(fnObey(keys), 0) << keys;
}

TEST_F(Player, ReportsWhatItCannotDo) {
    const std::string sound = fnSoundPath();
    EXPECT_EQ(fnSays({sound}, 1),
              "There is no sound device that plays this: Connection refused.\n");
    const std::string missing = (m_Folder / "missing.wav").string();
    EXPECT_EQ(fnSays({missing}, 1),
              "player: " + missing + ": it does not exist, or you may not read it\n");
    const std::string text = (m_Folder / "text.wav").string();
    std::ofstream(text) << "Dear listener";
    EXPECT_EQ(fnSays({text}, 1),
              "player: " + text + ": it is not a WAV file of PCM or floating-point samples\n");
    EXPECT_TRUE(fnSays({"--picture", "sound.xyz", sound}, 1)
                    .starts_with("player: sound.xyz: the name must end in .png"));
    EXPECT_TRUE(fnSays({"--picture", "/nowhere/sound.png", sound}, 1)
                    .starts_with("player: /nowhere/sound.png: it can't be written"));
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{}, {"--unknown", sound}, {sound, sound}, {sound, "--picture"}})
        EXPECT_TRUE(fnSays(wrong, 2).starts_with("usage: player "));
}

TEST_F(Player, SaysWhyNothingIsHeard) {
    const auto fnGetSaid = [&](const std::vector<std::string>& arguments) {
        Stream said = Stream::fnFromPlayer();
        ChildProcess player = fnPlay(arguments, {.m_nError = said.fnGetPlayers()});
        said.fnGive();
        const std::string text = said.fnReadAll();
        EXPECT_EQ(player.fnWait(), 0);
        return text;
    };
    EXPECT_EQ(fnGetSaid({}), "");
    s_pServer->fnControl({"set-sink-mute", "lab", "1"});
    EXPECT_EQ(fnGetSaid({}), "player: nothing is heard: the sound of the machine is muted\n");
    s_pServer->fnControl({"set-sink-mute", "lab", "0"});
    s_pServer->fnControl({"set-sink-volume", "lab", "0"});
    EXPECT_EQ(fnGetSaid({}), "player: nothing is heard: the volume of the machine is 0\n");
    fnWriteSound(std::string(10 * kBytesPerMs, '\0'));
    EXPECT_EQ(fnGetSaid({}), "player: nothing is heard: the file holds nothing but silence\n");
}

TEST_F(PlayerKeys, SaysThatItsOwnVolumeIsTheReason) {
    Stream said = Stream::fnFromPlayer();
    Stream keys = Stream::fnToPlayer();
    ChildProcess player =
        fnPlay({"--loop"}, {.m_nInput = keys.fnGetPlayers(), .m_nError = said.fnGetPlayers()});
    said.fnGive();
    keys.fnGive();
    keys.fnWrite("m");
    EXPECT_TRUE(said.fnAwait("nothing is heard: this program is muted in the desktop's"));
    keys.fnWrite("m" + std::string(40, '-'));
    EXPECT_TRUE(said.fnAwait("nothing is heard: the volume of this program is 0\n"));
    keys.fnWrite("q");
    EXPECT_EQ(player.fnWait(), 0);
}

TEST_F(Player, ExplainsItselfOnRequest) {
    Stream said = Stream::fnFromPlayer();
    ChildProcess player =
        fnRun({"--help"}, "unix:/nowhere/native", {.m_nOutput = said.fnGetPlayers()});
    said.fnGive();
    EXPECT_TRUE(said.fnReadAll().starts_with("usage: player "));
    EXPECT_EQ(player.fnWait(), 0);
}

TEST_F(Player, ReportsWhatItPlays) {
    Stream said = Stream::fnFromPlayer();
    ChildProcess player = fnPlay({}, {.m_nOutput = said.fnGetPlayers()});
    said.fnGive();
    EXPECT_EQ(said.fnReadAll(),
              fnSoundPath() + ": 2 channels of 16 bits, 44100 Hz, 6600 frames\n\n")
        << "and no line of state where there is no terminal";
    EXPECT_EQ(player.fnWait(), 0);
}

namespace {

/// The rows of a column that aren't black, all of which must be green.
std::vector<int> fnGreenRows(CqImage& image, int x) {
    std::vector<int> rows;
    for (int y = 0; y < static_cast<int>(image.Height); ++y) {
        const CqColor color = image.fnGetPixelColor(x, y);
        EXPECT_EQ(color.m_Red + color.m_Blue, 0);
        if (color.m_Green != 0)
            rows.push_back(y);
    }
    return rows;
}

} // namespace

TEST_F(Player, WithoutADeviceItFailsButThePictureShowsTheSound) {
    // 8 frames per column; the first half is silent.
    constexpr std::int16_t kLoud = 30000;
    std::string samples(8000 * 4, '\0');
    for (std::size_t at = samples.size() / 2; at < samples.size(); at += sizeof kLoud)
        std::memcpy(samples.data() + at, &kLoud, sizeof kLoud);
    fnWriteSound(samples);
    const std::string picture = (m_Folder / "sound.png").string();
    fnSays({"--picture", picture, fnSoundPath()}, 1);
    ASSERT_TRUE(q32Attach(q32PosixPlatform()));
    {
        CqImage image;
        ASSERT_TRUE(q32ReadPicture(picture.c_str(), image).fnIsDone());
        EXPECT_EQ(image.Width, 1000u);
        EXPECT_EQ(image.Height, 200u);
        // Each channel has a band of 100 rows, with silence in its middle: 32767 * 100 / 65535. The
        // bar of a sample ends (65535 - 62768) * 100 / 65535 rows from its band's ends.
        const std::vector<int> flat = {49, 149};
        std::vector<int> tall;
        for (const int band : {0, 100})
            for (int y = 4; y <= 96; ++y)
                tall.push_back(band + y);
        for (int x = 0; x < 1000; ++x)
            ASSERT_EQ(fnGreenRows(image, x), x < 500 ? flat : tall) << x;
    }
    q32Detach();
    const std::string again = (m_Folder / "again.png").string();
    EXPECT_EQ(fnSays({"--no-play", "--picture", again, fnSoundPath()}, 0), "");
    EXPECT_EQ(fs::file_size(again), fs::file_size(picture));
}

TEST_F(PlayerKeys, PlusAndMinusChangeTheVolumeAndSoDoUpAndDown) {
    fnPress("-");
    EXPECT_TRUE(fnAwaitVolume(247 * 256, 247 * 256));
    fnPress("\x1b[B");
    EXPECT_TRUE(fnAwaitVolume(239 * 256, 239 * 256));
    fnPress("\x1bOA");
    EXPECT_TRUE(fnAwaitVolume(247 * 256, 247 * 256));
    fnPress("+");
    EXPECT_TRUE(fnAwaitVolume(255 * 256, 255 * 256));
}

TEST_F(PlayerKeys, LeftAndRightMoveTheBalance) {
    fnPress("\x1b[C");
    EXPECT_TRUE(fnAwaitVolume((255 - 136) * 255 * 2, 255 * 256));
    fnPress("\x1b[D");
    EXPECT_TRUE(fnAwaitVolume(255 * 256, 255 * 256));
    fnPress("\x1b[D");
    EXPECT_TRUE(fnAwaitVolume(255 * 256, 120 * 255 * 2));
}

TEST_F(PlayerKeys, TheVolumeOfTheMachineStaysAsItIs) {
    fnPress("--m\x1b[C");
    EXPECT_TRUE(fnAwaitMute("yes"));
    EXPECT_TRUE(fnAwaitVolume((255 - 136) * 239 * 2, 239 * 256));
    const std::string volume = s_pServer->fnControl({"get-sink-volume", "lab"});
    EXPECT_NE(volume.find("front-left: 65536 / 100%"), std::string::npos) << volume;
    EXPECT_NE(volume.find("front-right: 65536 / 100%"), std::string::npos) << volume;
    EXPECT_EQ(s_pServer->fnControl({"get-sink-mute", "lab"}), "Mute: no\n");
}

TEST_F(PlayerKeys, AVolumeIsKeptForTheNextSoundAfterAStop) {
    fnPress("---ms");
    EXPECT_TRUE(fnAwait([] { return s_pServer->fnControl({"list", "sink-inputs"}).empty(); }));
    fnPress("m-l");
    EXPECT_TRUE(fnAwaitVolume(223 * 256, 223 * 256));
    EXPECT_TRUE(fnAwaitMute("no"));
}

TEST_F(PlayerMachineKeys, OnRequestKeysChangeTheVolumeOfTheMachine) {
    fnPress("-m");
    EXPECT_TRUE(fnAwaitVolume(247 * 256, 247 * 256));
    EXPECT_TRUE(fnAwaitMute("yes"));
}

TEST_F(PlayerKeys, MTogglesMute) {
    fnPress("m");
    EXPECT_TRUE(fnAwaitMute("yes"));
    fnPress("m");
    EXPECT_TRUE(fnAwaitMute("no"));
}

TEST_F(PlayerKeys, SpacePausesStopSilencesAndPlayEndsWithTheSound) {
    fnPress(" ");
    EXPECT_TRUE(fnAwaitStreams("Corked: yes"));
    fnPress(" ");
    EXPECT_TRUE(fnAwaitStreams("Corked: no"));
    fnPress("s");
    EXPECT_TRUE(fnAwait([] { return s_pServer->fnControl({"list", "sink-inputs"}).empty(); }));
    EXPECT_TRUE(m_Player.fnIsRunning());
    fnPress("l");
    EXPECT_TRUE(fnAwaitStreams("Corked: no"));
    fnPress("p");
    EXPECT_EQ(m_Player.fnWait(), 0) << "by itself, since it loops no more";
}

TEST_F(PlayerMachineKeys, NoKeyOfABurstIsLost) {
    fnPress("--\x1b[B\x1b[B\x1b[5~\x1b[1;5P?m\x1b[D-");
    EXPECT_TRUE(fnAwaitVolume(215 * 256, 120 * 215 * 2));
    EXPECT_TRUE(fnAwaitMute("yes"));
    fnPress("\x1b[C" + std::string(300, '-'));
    EXPECT_TRUE(fnAwaitVolume(0, 0));
    fnPress("+mq-");
    EXPECT_EQ(m_Player.fnWait(), 0);
    EXPECT_TRUE(fnAwaitMute("no"));
    EXPECT_TRUE(fnAwaitVolume(8 * 256, 8 * 256)) << "no key counts behind the end";
}

TEST_F(PlayerKeys, AnArrowKeyInPiecesIsNotTakenForEscape) {
    for (const char* piece : {"\x1b", "[", "B"})
        fnPress(piece);
    EXPECT_TRUE(fnAwaitVolume(247 * 256, 247 * 256));
    EXPECT_TRUE(m_Player.fnIsRunning());
    fnPress("\x1b");
    EXPECT_EQ(m_Player.fnWait(), 0) << "Esc alone ends";
}

TEST_F(Player, OnATerminalALineShowsTheState) {
    Stream terminal = Stream::fnTerminal();
    const int end = terminal.fnGetPlayers();
    std::vector<std::string> environment = s_pServer->fnGetEnvironment();
    environment.push_back("PULSE_SERVER=" + s_pServer->fnGetAddress());
    ChildProcess player({"setsid", "--ctty", Q32_TEST_PLAYER, "--loop", fnSoundPath()}, environment,
                        {.m_nInput = end, .m_nOutput = end, .m_nError = end});
    EXPECT_TRUE(terminal.fnAwait("6600 frames\r\n"));
    EXPECT_TRUE(terminal.fnAwait("\rplaying in a loop    0."));
    EXPECT_TRUE(terminal.fnAwait(" of 0.15 s  volume 255  balance 128\x1b[K"));
    const auto fnIsEchoing = [&] {
        termios mode{};
        EXPECT_EQ(::tcgetattr(end, &mode), 0);
        return (mode.c_lflag & (ICANON | ECHO)) == (ICANON | ECHO);
    };
    EXPECT_FALSE(fnIsEchoing());
    terminal.fnWrite("\x1b[B\x1b[Cm");
    EXPECT_TRUE(terminal.fnAwait("volume 247  balance 136  mute  silent: this program is muted"));
    terminal.fnWrite(" ");
    EXPECT_TRUE(terminal.fnAwait("\rpaused  in a loop    0."));
    terminal.fnWrite("s");
    EXPECT_TRUE(terminal.fnAwait("\rstopped in a loop    0.00 of 0.15 s"));
    terminal.fnWrite("l");
    EXPECT_TRUE(terminal.fnAwait("  mute  silent: this program is muted"));
    const std::string sounds = s_pServer->fnControl({"list", "short", "sink-inputs"});
    s_pServer->fnControl({"set-sink-input-volume", sounds.substr(0, sounds.find('\t')), "50%"});
    EXPECT_TRUE(terminal.fnAwait("volume 128  balance 128  mute")) << "another's hand";
    terminal.fnWrite("q");
    EXPECT_EQ(player.fnWait(), 0);
    EXPECT_TRUE(fnIsEchoing());
}
