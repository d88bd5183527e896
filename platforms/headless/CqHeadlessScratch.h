#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "platforms/headless/CqHeadlessDisks.h"
#include "q32Base/platform/CqScratchService.h"
#include "q32Base/platform/Export.h"

#include <functional>
#include <map>
#include <memory>

/// Scratch files on the disks of the headless world. A view is the file's own bytes. Handles are
/// checked: use of one that isn't open is a misuse, and the call fails. A call that a counter makes
/// fail reports that as any other failure; what is to be released is released all the same.
class Q32_API CqHeadlessScratch final : public CqScratchService {
public:
    /// `misuses` receives what is done with handles and views that aren't open.
    CqHeadlessScratch(std::shared_ptr<CqHeadlessDisks> disks,
                      std::shared_ptr<CqHeadlessMisuses> misuses);
    ~CqHeadlessScratch() override;

    CqHeadlessCalls m_CreateName;    ///< calls of `fnCreateName`
    CqHeadlessCalls m_Open;          ///< calls of `fnOpen`
    CqHeadlessCalls m_SetSize;       ///< calls of `fnSetSize`
    CqHeadlessCalls m_Reopen;        ///< calls of `fnReopen`; a failed one has closed the file
    CqHeadlessCalls m_CreateMapping; ///< calls of `fnCreateMapping`
    CqHeadlessCalls m_MapView;       ///< calls of `fnMapView`
    CqHeadlessCalls m_Delete;        ///< calls of `fnDelete`; after a failed one the file stays
    CqHeadlessCalls m_Advise;        ///< a failed call is ignored

    /// Called with each advice on bytes of a view. It may read and change the bytes, but must not
    /// throw.
    std::function<void(CQ_VIEW_ADVICE, std::uint8_t* address, std::uint32_t size)> m_OnAdvice;

    /// Numbers of open handles, mappings and views.
    std::size_t fnGetHandles() const { return m_Files.size(); }
    std::size_t fnGetMappings() const { return m_Mappings.size(); }
    std::size_t fnGetViews() const { return m_Views.size(); }

    bool fnCreateName(const char* directory, const char* prefix, std::string& name) override;
    CqFileHandle fnOpen(const char* name) override;
    bool fnSetSize(CqFileHandle file, std::uint32_t size) override;
    CqFileHandle fnReopen(CqFileHandle file, const char* name) noexcept override;
    void fnClose(CqFileHandle file) noexcept override;
    CqMappingHandle fnCreateMapping(CqFileHandle file, std::uint32_t size) override;
    void fnCloseMapping(CqMappingHandle mapping) noexcept override;
    void* fnMapView(CqMappingHandle mapping, std::uint32_t size) override;
    void fnUnmapView(void* address, std::uint32_t size) noexcept override;
    void fnAdvise(CQ_VIEW_ADVICE advice, void* address, std::uint32_t size) noexcept override;
    bool fnDelete(const char* name) noexcept override;

private:
    struct Mapping {
        CqHeadlessFilePtr m_pFile;
        std::uint32_t m_nSize;
    };
    Q32_LOCAL CqFileHandle fnOpenHandle(const char* name);
    Q32_LOCAL bool fnCloseHandle(CqFileHandle file, const char* misuse);
    Q32_LOCAL void fnDropView(const CqHeadlessFilePtr& file);

    std::shared_ptr<CqHeadlessDisks> m_pDisks;
    std::shared_ptr<CqHeadlessMisuses> m_pMisuses;
    std::map<CqFileHandle, CqHeadlessFilePtr> m_Files;
    std::map<CqMappingHandle, Mapping> m_Mappings;
    std::multimap<void*, Mapping> m_Views;
    std::uint32_t m_nNextHandle = 1;
    std::uint32_t m_nNextName = 1;
};
