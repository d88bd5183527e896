#include "q32Base/framework/Memory.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/memory/PixelBuffer_p.h"
#include "q32Base/messages/StringTable_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <cstring>
#include <string>

namespace {

/// Size of the file and the view for a block with slack. A view is whole pages, so that slack is
/// missing only where the block ends with its page.
std::uint32_t fnViewBytes(std::uint32_t size, std::uint32_t slack) {
    constexpr std::uint32_t kPage = 4096; // the smallest that a system has
    assert(slack <= kPage);
    const std::uint32_t behind = (kPage - size % kPage) % kPage;
    return slack > behind ? size + slack : size;
}

/// A block, and whether it has the contents of an earlier one instead of zeros.
struct NewBlock {
    unsigned char* m_pBytes = nullptr;
    bool m_bUsed = false;
};

/// A block in RAM; null if there is none, and the caller then tries the disks.
NewBlock fnAllocRam(std::size_t size) {
    CqMemoryService& memory = *q32::fnPlatform().m_pMemory;
    if (void* held = memory.fnTakeHeld(size))
        return {static_cast<unsigned char*>(held), true};
    memory.fnTrimHeld(q32GetVMPolicy()->fnGetHeldRoom(size));
    void* block = memory.fnReserve(size);
    if (!block)
        return {};
    if (memory.fnCommit(block, size))
        return {static_cast<unsigned char*>(block)};
    // Deliberate: the address passed is the commit's null result, so the reservation isn't
    // released. It holds address space but no memory.
    memory.fnRelease(nullptr, size);
    return {};
}

void fnFreeRam(unsigned char* block, std::size_t size) {
    CqMemoryService& memory = *q32::fnPlatform().m_pMemory;
    if (memory.fnHoldBack(block, size, q32GetVMPolicy()->fnGetHeldRoom()))
        return;
    memory.fnDecommit(block, size);
    memory.fnRelease(block, size);
}

/// Longest bare name of a temporary file, in bytes.
constexpr int kMaxNameBytes = 32;

/// A scratch file while it is made into a buffer. The destructor undoes the steps taken so far,
/// unless the buffer has been handed over.
class ScratchFile {
public:
    explicit ScratchFile(CqScratchService& service) : m_Service(service) {}
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    ~ScratchFile() {
        if (m_pView)
            m_Service.fnUnmapView(m_pView, m_nSize);
        if (m_Mapping != kNoMapping)
            m_Service.fnCloseMapping(m_Mapping);
        if (m_File != kNoFile)
            m_Service.fnClose(m_File);
        if (m_bDelete)
            m_Service.fnDelete(m_strName);
    }

    /// False at the first step that fails. A file that the service refuses to open stays behind,
    /// empty, deliberately; one that there is no memory to open doesn't.
    bool fnMake(const CString& directory, std::uint32_t size) {
        assert(m_File == kNoFile && m_Mapping == kNoMapping && !m_pView);
        m_nSize = size;
        // Space for the name is reserved first, so that running out of memory can't leave a file
        // behind.
        m_strName.GetBuffer(directory.GetLength() + kMaxNameBytes);
        std::string name;
        name.reserve(static_cast<std::size_t>(directory.GetLength()) + kMaxNameBytes);
        if (!m_Service.fnCreateName(directory, q32::fnFindString(q32::STRING_TEMP_PREFIX), name))
            return false;
        m_strName = name.c_str();
        m_bDelete = true;
        m_File = m_Service.fnOpen(m_strName);
        m_bDelete = m_File != kNoFile;
        if (!m_bDelete)
            return false;
        if (!m_Service.fnSetSize(m_File, size))
            return false;
        m_File = m_Service.fnReopen(m_File, m_strName);
        if (m_File == kNoFile)
            return false;
        m_Mapping = m_Service.fnCreateMapping(m_File, size);
        if (m_Mapping == kNoMapping)
            return false;
        m_pView = m_Service.fnMapView(m_Mapping, size);
        return m_pView != nullptr;
    }

    const CString& fnGetName() const { return m_strName; }

    unsigned char* fnHandOver(CqFileHandle& file, CqMappingHandle& mapping, CString& name) {
        assert(m_File != kNoFile && m_Mapping != kNoMapping && m_pView && m_bDelete);
        auto* view = static_cast<unsigned char*>(m_pView);
        file = m_File;
        mapping = m_Mapping;
        name = m_strName;
        m_pView = nullptr;
        m_Mapping = kNoMapping;
        m_File = kNoFile;
        m_bDelete = false;
        return view;
    }

private:
    CqScratchService& m_Service;
    CqFileHandle m_File = kNoFile;
    CqMappingHandle m_Mapping = kNoMapping;
    void* m_pView = nullptr;
    std::uint32_t m_nSize = 0;
    CString m_strName;
    bool m_bDelete = false;
};

/// A block in RAM or in a file. The file's values are empty at first, and remain so for RAM.
NewBlock fnAllocBlock(std::uint32_t size, std::uint32_t slack, CqFileHandle& file,
                      CqMappingHandle& mapping, CString& name) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    const CSingleLock lock(policy.fnGetLock());
    CString path;
    if (!policy.fnSearchAvail(size, true, path))
        AfxThrowMemoryException();
    if (path.IsEmpty()) {
        NewBlock block;
        if (policy.fnFitsRam(size))
            block = fnAllocRam(std::size_t{size} + slack);
        if (block.m_pBytes) {
            policy.fnConsumeRAM(size);
            return block;
        }
        if (!policy.fnSearchAvail(size, false, path))
            AfxThrowMemoryException();
    }
    return q32::fnGuardMemory([&]() -> NewBlock {
        ScratchFile scratch(*q32::fnPlatform().m_pScratch);
        if (!scratch.fnMake(path, fnViewBytes(size, slack)))
            AfxThrowMemoryException();
        policy.fnNoteScratchFile(scratch.fnGetName(), size);
        return {scratch.fnHandOver(file, mapping, name)};
    });
}

} // namespace

unsigned char* AllocPixelBuffer(std::uint32_t size, CqFileHandle& file, CqMappingHandle& mapping,
                                CString& name, std::uint32_t slack, bool zero) {
    file = kNoFile;
    mapping = kNoMapping;
    name.Empty();
    const NewBlock block = fnAllocBlock(size, slack, file, mapping, name);
    if (block.m_bUsed && zero)
        std::memset(block.m_pBytes, 0, std::size_t{size} + slack);
    return block.m_pBytes;
}

void FreePixelBuffer(unsigned char* address, std::uint32_t size, CqFileHandle* file,
                     CqMappingHandle* mapping, CString* name, std::uint32_t slack) {
    assert(address);
    assert((*file == kNoFile) == (*mapping == kNoMapping) && (*file == kNoFile) == name->IsEmpty());
    const CSingleLock lock(q32GetVMPolicy()->fnGetLock());
    if (*file == kNoFile) {
        q32GetVMPolicy()->fnReleaseRAM(size);
        fnFreeRam(address, std::size_t{size} + slack);
        return;
    }
    CqScratchService& scratch = *q32::fnPlatform().m_pScratch;
    scratch.fnUnmapView(address, fnViewBytes(size, slack));
    scratch.fnCloseMapping(*mapping);
    *mapping = kNoMapping;
    scratch.fnClose(*file);
    *file = kNoFile;
    scratch.fnDelete(*name);
    q32GetVMPolicy()->fnForgetScratchFile(*name);
    name->Empty();
}
