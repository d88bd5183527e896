#include "platforms/posix/ViewGuard_p.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using namespace q32::test;
using q32::posix::ViewGuard;

namespace {

/// A shared mapping of a file of the folder.
class Mapped {
public:
    Mapped(const Folder& folder, const std::string& name, std::size_t size)
        : m_nSize(size), m_Path(folder.fnPath(name)),
          m_nFile(::open(m_Path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (::ftruncate(m_nFile, static_cast<off_t>(size)) == 0)
            m_pView = static_cast<char*>(
                ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, m_nFile, 0));
        std::memset(m_pView, 'x', size);
    }
    ~Mapped() {
        ::munmap(m_pView, m_nSize);
        ::close(m_nFile);
    }
    Mapped(const Mapped&) = delete;
    Mapped& operator=(const Mapped&) = delete;

    bool fnCut(std::size_t bytes) const {
        return ::truncate(m_Path.c_str(), static_cast<off_t>(bytes)) == 0;
    }

    std::size_t m_nSize;
    std::string m_Path;
    int m_nFile;
    char* m_pView = nullptr;
};

const std::size_t kPage = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
sigjmp_buf g_Back;
volatile sig_atomic_t g_nCalls = 0;
void* volatile g_pFault = nullptr;

void fnNoteFault(int, siginfo_t* info, void*) {
    g_nCalls = g_nCalls + 1;
    g_pFault = info->si_addr;
    if (info->si_code > 0)
        ::siglongjmp(g_Back, 1);
}

void fnSetHandler() {
    struct sigaction action {};
    action.sa_sigaction = fnNoteFault;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    ::sigaction(SIGBUS, &action, nullptr);
}

} // namespace

TEST(PosixViewGuard, PagesBehindTheEndOfACutFileBecomeZerosAtOnce) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  Q32_WANT(ViewGuard::fnInstall());
                  const Folder folder;
                  const Mapped file(folder, "a", 100 * kPage + 5);
                  const ViewGuard guard(file.m_nFile, file.m_pView, file.m_nSize);
                  Q32_WANT(guard && guard.fnCountLosses() == 0);
                  Q32_WANT(file.fnCut(10 * kPage + 1));
                  Q32_WANT(file.m_pView[50 * kPage] == 0);
                  for (std::size_t i = 11 * kPage; i < file.m_nSize; ++i)
                      Q32_WANT(file.m_pView[i] == 0);
                  Q32_WANT(guard.fnCountLosses() == 1 && ViewGuard::fnIsAnyLost());
                  Q32_WANT(file.m_pView[10 * kPage] == 'x' && file.m_pView[0] == 'x');
                  std::memset(file.m_pView, 'y', file.m_nSize);
                  Q32_WANT(file.m_pView[file.m_nSize - 1] == 'y');
                  Q32_WANT(guard.fnCountLosses() == 1);
                  return "";
              }),
              "");
}

TEST(PosixViewGuard, OtherFaultsReachTheHandlerThatWasThereBefore) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  fnSetHandler();
                  Q32_WANT(ViewGuard::fnInstall());
                  const Folder folder;
                  const Mapped guarded(folder, "a", 4 * kPage);
                  const Mapped other(folder, "b", 4 * kPage);
                  const ViewGuard guard(guarded.m_nFile, guarded.m_pView, guarded.m_nSize);
                  Q32_WANT(other.fnCut(0));
                  if (::sigsetjmp(g_Back, 1) == 0) {
                      *static_cast<volatile char*>(other.m_pView + kPage) = 1;
                      return "no fault";
                  }
                  Q32_WANT(g_nCalls == 1 && g_pFault == other.m_pView + kPage);
                  ::kill(::getpid(), SIGBUS); // sent, not a fault
                  Q32_WANT(g_nCalls == 2);
                  Q32_WANT(guarded.fnCut(0) && guarded.m_pView[0] == 0);
                  Q32_WANT(g_nCalls == 2 && guard.fnCountLosses() == 1);
                  return "";
              }),
              "");
}

TEST(PosixViewGuard, AFaultThatNobodyHandlesEndsTheProcessByTheSignal) {
    for (const bool sent : {false, true})
        EXPECT_EQ(fnInChild([=]() -> std::string {
                      ::signal(SIGBUS, SIG_DFL); // a sanitizer would print first
                      Q32_WANT(ViewGuard::fnInstall());
                      const Folder folder;
                      const Mapped file(folder, "a", 4 * kPage);
                      std::error_code ignored;
                      if (sent)
                          ::raise(SIGBUS);
                      if (file.fnCut(0))
                          *static_cast<volatile char*>(file.m_pView) = 1;
                      return "";
                  }),
                  "killed by signal " + std::to_string(SIGBUS));
}

TEST(PosixViewGuard, ASentSignalThatIsIgnoredStaysIgnored) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  ::signal(SIGBUS, SIG_IGN);
                  Q32_WANT(ViewGuard::fnInstall());
                  ::raise(SIGBUS);
                  return "";
              }),
              "");
}

TEST(PosixViewGuard, AViewIsGuardedUntilItsGuardEnds) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  fnSetHandler();
                  Q32_WANT(ViewGuard::fnInstall() && ViewGuard::fnInstall());
                  const Folder folder;
                  const Mapped file(folder, "a", 4 * kPage);
                  ViewGuard kept;
                  {
                      ViewGuard guard(file.m_nFile, file.m_pView, file.m_nSize);
                      kept = std::move(guard);
                  }
                  Q32_WANT(file.fnCut(2 * kPage));
                  Q32_WANT(file.m_pView[2 * kPage] == 0 && kept.fnCountLosses() == 1);
                  kept = ViewGuard();
                  Q32_WANT(file.fnCut(0));
                  if (::sigsetjmp(g_Back, 1) == 0) {
                      *static_cast<volatile char*>(file.m_pView) = 1;
                      return "no fault";
                  }
                  Q32_WANT(g_nCalls == 1);
                  return "";
              }),
              "");
}

TEST(PosixViewGuard, ThousandsOfViewsAreGuardedAndTheirPlacesUsedAgain) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  Q32_WANT(ViewGuard::fnInstall());
                  const Folder folder;
                  const Mapped file(folder, "a", kPage);
                  std::vector<ViewGuard> guards;
                  for (int round = 0; round < 3; ++round) {
                      guards.clear();
                      for (std::size_t i = 0; i < 64 * 1024; ++i)
                          guards.emplace_back(file.m_nFile, file.m_pView, kPage);
                      Q32_WANT(guards.front() && guards.back());
                      Q32_WANT(!ViewGuard(file.m_nFile, file.m_pView, kPage));
                  }
                  guards.erase(guards.begin(), guards.end() - 1); // the last one is still found
                  Q32_WANT(file.fnCut(0) && file.m_pView[0] == 0);
                  Q32_WANT(guards[0].fnCountLosses() == 1);
                  return "";
              }),
              "");
}
