#include "platforms/headless/headless.h"

CqHeadlessWorld::CqHeadlessWorld(const CqHeadlessOptions& options)
    : m_pMisuses(std::make_shared<CqHeadlessMisuses>()),
      m_pDisks(std::make_shared<CqHeadlessDisks>(options.m_Volumes)),
      m_pMemory(std::make_shared<CqHeadlessMemory>(options.m_nPhysicalBytes, m_pMisuses)),
      m_pScratch(std::make_shared<CqHeadlessScratch>(m_pDisks, m_pMisuses)),
      m_pFiles(std::make_shared<CqHeadlessFiles>(m_pDisks, options.m_szTempDirectory,
                                                 options.m_szConfigDirectory)),
      m_pScreen(std::make_shared<CqHeadlessScreen>(options.m_Mode, m_pMisuses)),
      m_pMessages(std::make_shared<CqHeadlessMessages>()),
      m_pKeyboard(std::make_shared<CqHeadlessKeyboard>()),
      m_pResources(std::make_shared<CqHeadlessResources>(options.m_nCodePage)),
      m_pWaveOut(std::make_shared<CqHeadlessWaveOut>()),
      m_pMixers(std::make_shared<CqHeadlessMixers>()),
      m_pLocale(std::make_shared<CqHeadlessLocale>(options.m_nCodePage, options.m_nMinutesEast)),
      m_pWindows(std::make_shared<CqHeadlessWindows>()),
      m_pWork(std::make_shared<CqHeadlessWork>()) {
    m_pDisks->fnSetNow(options.m_nNow);
    m_pDisks->fnPutDirectory(options.m_szTempDirectory);
    m_pDisks->fnPutDirectory(options.m_szConfigDirectory);
}

CqPlatform CqHeadlessWorld::fnPlatform() const {
    CqPlatform platform;
    platform.m_pMemory = m_pMemory;
    platform.m_pScratch = m_pScratch;
    platform.m_pFiles = m_pFiles;
    platform.m_pScreen = m_pScreen;
    platform.m_pMessages = m_pMessages;
    platform.m_pKeyboard = m_pKeyboard;
    platform.m_pResources = m_pResources;
    platform.m_pWaveOut = m_pWaveOut;
    platform.m_pMixers = m_pMixers;
    platform.m_pLocale = m_pLocale;
    platform.m_pWindows = m_pWindows;
    platform.m_pWork = m_pWork;
    return platform;
}

std::string CqHeadlessWorld::fnGetSettingsName() const {
    return m_pFiles->fnGetConfiguredDirectory() + "\\Qkz.cfg";
}

std::optional<std::string> CqHeadlessWorld::fnGetSettings() const {
    return m_pDisks->fnGetFile(fnGetSettingsName());
}

bool CqHeadlessWorld::fnSetSettings(std::string_view text) {
    return m_pDisks->fnPutFile(fnGetSettingsName(), text);
}

std::shared_ptr<CqHeadlessWorld> q32HeadlessWorld(const CqHeadlessOptions& options) {
    return std::make_shared<CqHeadlessWorld>(options);
}

CqPlatform q32HeadlessPlatform(const CqHeadlessOptions& options) {
    return CqHeadlessWorld(options).fnPlatform();
}
