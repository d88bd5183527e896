#include "tests/tools/ToolTest.h"

#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/image/PixelAccess.h"
#include "q32Base/module/Module.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <random>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;

/// A folder that everybody can reach, with those that the library uses.
fs::path fnMakeFolder() {
    std::string name = (fs::temp_directory_path() / "q32-tool-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw fs::filesystem_error("mkdtemp", std::error_code(errno, std::generic_category()));
    for (const char* part : {"", "config", "scratch", "program"}) {
        fs::create_directory(fs::path(name) / part);
        fs::permissions(fs::path(name) / part, fs::perms::all);
    }
    return name;
}

} // namespace

ToolTest::ToolTest() : m_Folder(fnMakeFolder()) {
    // The program itself may lie where only its owner comes.
    fs::copy_file(Q32_TOOL, m_Folder / "program" / "q32");
    CqPosixOptions options;
    options.m_szConfigDirectory = fnPath("host-config");
    options.m_szTempDirectory = fnPath("scratch");
    EXPECT_TRUE(q32Attach(q32PosixPlatform(options)));
    // The scratch files here are the tool's alone.
    q32GetVMPolicy()->fnSetRamLimit(std::uint64_t{1} << 30);
}

ToolTest::~ToolTest() {
    q32Detach();
    std::error_code ignored;
    fs::remove_all(m_Folder, ignored);
}

std::unique_ptr<CqImage> ToolTest::fnMake(const std::string& name, unsigned int width,
                                          unsigned int height, unsigned int bits,
                                          unsigned int seed) {
    auto image =
        std::make_unique<CqImage>(width, height, bits, bits == 8 ? q32GreyRamp : nullptr, 256);
    const CqPixelWriter writer(*image, PIXEL_STORED);
    std::mt19937 random(seed);
    std::vector<unsigned char> row(width * writer.fnGetPixelBytes());
    for (unsigned int y = 0; y < height; ++y) {
        for (unsigned char& byte : row)
            byte = static_cast<unsigned char>(random());
        EXPECT_TRUE(writer.fnWriteRow(0, y, width, row.data()));
    }
    const std::string path = fnPath(name);
    EXPECT_TRUE(q32WritePicture(path.c_str(), *image, q32FindPictureFormat(path.c_str())->m_eFormat)
                    .fnIsDone());
    return image;
}

std::unique_ptr<CqImage> ToolTest::fnLoad(const std::string& name) {
    auto image = std::make_unique<CqImage>();
    EXPECT_TRUE(q32ReadPicture(fnPath(name).c_str(), *image).fnIsDone()) << name;
    return image;
}

void ToolTest::fnPut(const std::string& name, const std::string& bytes) const {
    std::ofstream(fnPath(name), std::ios::binary) << bytes;
}

std::string ToolTest::fnGet(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(fnPath(name), std::ios::binary).rdbuf();
    return text.str();
}

/// Called in the child.
void ToolTest::fnBecomeTool(const ToolWords& words, const ToolRun& run) const {
    const auto redirect = [this](const char* name, int flags, int stream) {
        const int file = ::open(fnPath(name).c_str(), flags, 0666);
        ::dup2(file, stream);
    };
    redirect("/dev/null", O_RDONLY, STDIN_FILENO);
    redirect("said", O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    redirect("errors", O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
    const rlimit limit{run.m_nFileLimit, run.m_nFileLimit};
    const bool bound =
        !run.m_bUnprivileged || ::geteuid() != 0 ||
        (::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
    if (::chdir(m_Folder.c_str()) != 0 || !bound ||
        (run.m_nFileLimit != 0 && ::setrlimit(RLIMIT_FSIZE, &limit) != 0))
        ::_exit(99);
    if (run.m_nFileLimit != 0 || run.m_bUnprivileged) // no profile can be written
        ::setenv("LLVM_PROFILE_FILE", "/dev/null", 1);
    ::setenv("TMPDIR", fnPath("scratch").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", fnPath("config").c_str(), 1);
    const std::string program = fnPath("program/q32");
    std::vector<char*> arguments = {const_cast<char*>("q32")};
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    ::execv(program.c_str(), arguments.data());
    ::_exit(98);
}

pid_t ToolTest::fnStart(const ToolWords& words, const ToolRun& run) {
    const pid_t child = ::fork();
    if (child == 0)
        fnBecomeTool(words, run);
    return child;
}

int ToolTest::fnAwait(pid_t child) {
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child)
        return -1000;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void ToolTest::fnReadStreams() {
    m_Said = fnGet("said");
    m_Errors = fnGet("errors");
}

int ToolTest::fnRun(const ToolWords& words, const ToolRun& run) {
    const int code = fnAwait(fnStart(words, run));
    fnReadStreams();
    return code;
}

int ToolTest::fnShell(const std::string& command) {
    const std::string folder = m_Folder.string();
    fnPut("script", "cd '" + folder + "' && PATH='" + folder + "/program':$PATH TMPDIR='" + folder +
                        "/scratch' XDG_CONFIG_HOME='" + folder +
                        "/config'\nexport PATH TMPDIR "
                        "XDG_CONFIG_HOME\n" +
                        command + "\n");
    const std::string line =
        "bash '" + folder + "/script' >'" + folder + "/said' 2>'" + folder + "/errors' </dev/null";
    const int status = std::system(line.c_str()); // NOLINT(concurrency-mt-unsafe)
    fnReadStreams();
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> ToolTest::fnListRests() const {
    std::vector<std::string> rests;
    for (const auto& entry : fs::recursive_directory_iterator(m_Folder)) {
        const std::string name = entry.path().filename();
        if (name.starts_with("~qd") || name.starts_with(".q32save-"))
            rests.push_back(entry.path());
    }
    return rests;
}

std::vector<unsigned char> fnPixels(const CqImage& image) {
    std::vector<unsigned char> pixels(std::size_t{4} * image.Width * image.Height);
    const CRect all(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height));
    EXPECT_TRUE(
        q32ReadPixels(image, all, PIXEL_ARGB32, pixels.data(), std::size_t{4} * image.Width));
    return pixels;
}

int fnFarthest(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
    int farthest = a.size() == b.size() ? 0 : 256;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        farthest = std::max(farthest, std::abs(a[i] - b[i]));
    return farthest;
}
