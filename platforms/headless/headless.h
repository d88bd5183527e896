/// @file
/// The headless back end: a complete, deterministic world in memory. Tests and automation hosts
/// script and inspect it through its services, which offer more than the library uses.
#pragma once

#include "platforms/headless/CqHeadlessCmdUI.h"
#include "platforms/headless/CqHeadlessDisks.h"
#include "platforms/headless/CqHeadlessDocument.h"
#include "platforms/headless/CqHeadlessDumpView.h"
#include "platforms/headless/CqHeadlessFiles.h"
#include "platforms/headless/CqHeadlessKeyboard.h"
#include "platforms/headless/CqHeadlessLocale.h"
#include "platforms/headless/CqHeadlessMemory.h"
#include "platforms/headless/CqHeadlessMessages.h"
#include "platforms/headless/CqHeadlessMixers.h"
#include "platforms/headless/CqHeadlessRegion.h"
#include "platforms/headless/CqHeadlessResources.h"
#include "platforms/headless/CqHeadlessScratch.h"
#include "platforms/headless/CqHeadlessScreen.h"
#include "platforms/headless/CqHeadlessToolBar.h"
#include "platforms/headless/CqHeadlessWaveOut.h"
#include "platforms/headless/CqHeadlessWindows.h"
#include "platforms/headless/CqHeadlessWnd.h"
#include "platforms/headless/CqHeadlessWork.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The initial state of a headless world. All of it can be changed later through the services.
struct CqHeadlessOptions {
    std::uint64_t m_nPhysicalBytes = 0x10000000u; ///< 256 MiB
    std::vector<CqHeadlessVolume> m_Volumes = {CqHeadlessVolume()};
    std::string m_szTempDirectory = "C:\\Temp\\"; ///< created if it lies on a volume
    std::string m_szConfigDirectory = "C:\\Config\\";
    std::int64_t m_nNow = 946684800; ///< time of new files, in seconds since 1970: 2000-01-01
    CqHeadlessMode m_Mode;
    UINT m_nCodePage = 1252; ///< or 932, or 65001
    int m_nMinutesEast = 0;  ///< east of UTC
};

/// A headless world. Its services are shared: a platform created from it, or one that uses some of
/// them, keeps them alive.
class Q32_API CqHeadlessWorld {
public:
    explicit CqHeadlessWorld(const CqHeadlessOptions& options);

    /// Misuses by the library that a real system would punish.
    const std::shared_ptr<CqHeadlessMisuses> m_pMisuses;
    const std::shared_ptr<CqHeadlessDisks> m_pDisks;
    const std::shared_ptr<CqHeadlessMemory> m_pMemory;
    const std::shared_ptr<CqHeadlessScratch> m_pScratch;
    const std::shared_ptr<CqHeadlessFiles> m_pFiles;
    const std::shared_ptr<CqHeadlessScreen> m_pScreen;
    const std::shared_ptr<CqHeadlessMessages> m_pMessages;
    const std::shared_ptr<CqHeadlessKeyboard> m_pKeyboard;
    const std::shared_ptr<CqHeadlessResources> m_pResources;
    const std::shared_ptr<CqHeadlessWaveOut> m_pWaveOut;
    const std::shared_ptr<CqHeadlessMixers> m_pMixers;
    const std::shared_ptr<CqHeadlessLocale> m_pLocale;
    const std::shared_ptr<CqHeadlessWindows> m_pWindows;
    const std::shared_ptr<CqHeadlessWork> m_pWork;

    /// A complete platform of this world's services.
    CqPlatform fnPlatform() const;

    /// The text of the settings file, before the start, while running and after the stop; none if
    /// it doesn't exist.
    std::optional<std::string> fnGetSettings() const;
    /// Writes the settings file, even if writes are set to fail for the library.
    bool fnSetSettings(std::string_view text);

private:
    Q32_LOCAL std::string fnGetSettingsName() const;
};

/// Creates a headless world.
Q32_API std::shared_ptr<CqHeadlessWorld>
q32HeadlessWorld(const CqHeadlessOptions& options = CqHeadlessOptions());

/// A complete platform for a host that doesn't script anything.
Q32_API CqPlatform q32HeadlessPlatform(const CqHeadlessOptions& options = CqHeadlessOptions());
