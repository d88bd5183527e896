#include "q32Base/module/Host.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/module/Module.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

namespace {

/// Shows a box, which allocates nothing in this library; else writes to the error stream.
void fnReport(const char* text) {
    if (q32ShowMsgStr(text, MB_ICONHAND) == 0)
        std::fprintf(stderr, "%s\n", text);
}

void fnReportNoMemory() {
    if (q32ShowMsg(MESSAGE_NO_MEMORY, nullptr, nullptr, nullptr, 0) == 0)
        std::fputs("Out of memory.\n", stderr);
}

/// Detaches on every way out.
struct Attachment {
    Attachment() = default;
    ~Attachment() { q32Detach(); }
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
};

} // namespace

int q32RunHost(CqPlatform platform, const std::function<int()>& work) {
    if (!q32Attach(std::move(platform)))
        return EXIT_FAILURE;
    const Attachment attachment;
    try {
        return work();
    } catch (CMemoryException* exception) {
        exception->Delete();
        fnReportNoMemory();
    } catch (CException* exception) {
        fnReport(q32ExceptionText(*exception));
        exception->Delete();
    } catch (const std::bad_alloc&) {
        fnReportNoMemory();
    } catch (const std::exception& exception) {
        fnReport(exception.what());
    }
    return EXIT_FAILURE;
}

std::uint64_t q32SetMemoryLimit(std::uint64_t bytes) {
    if (!q32::fnHasPlatform())
        return 0;
    CqVMPolicy& policy = *q32GetVMPolicy();
    if (bytes == 0) {
        CqMemoryService& memory = *q32::fnPlatform().m_pMemory;
        const unsigned int percent =
            policy.fnIsMemEnabled() ? std::min(policy.fnGetMemUsage(), 100u) : 50;
        bytes = std::min(memory.fnGetPhysicalBytes() / 100 * percent, memory.fnGetBlockLimit());
    }
    policy.fnSetRamLimit(bytes);
    return bytes;
}
