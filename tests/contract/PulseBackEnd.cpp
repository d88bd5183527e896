#include "platforms/pulse/pulse.h"
#include "tests/contract/ContractBackEnd.h"
#include "tests/support/SoundServer.h"

namespace {

/// One server for all tests of the program.
class ServerForAll : public testing::Environment {
public:
    void SetUp() override { s_pServer = std::make_unique<SoundServer>(); }
    void TearDown() override { s_pServer.reset(); }
    static inline std::unique_ptr<SoundServer> s_pServer;
};

[[maybe_unused]] const auto* const kServer =
    testing::AddGlobalTestEnvironment(new ServerForAll); // owned by the framework

CqPulse fnConnect() {
    ServerForAll::s_pServer->fnRestore();
    CqPulseOptions options;
    options.m_szServer = ServerForAll::s_pServer->fnGetAddress();
    options.m_Latency = std::chrono::milliseconds(50);
    return q32Pulse(options);
}

/// The volume of the program's own sounds, of which none plays.
ContractBackEnd fnOwnSounds() {
    return {"OwnSounds", {CONTRACT::MIXERS}, [] {
                const CqPulse pulse = fnConnect();
                ContractWorld made;
                made.m_Platform.m_pMixers = pulse.m_pOwnMixers;
                made.m_Tick = [pulse] { pulse.m_pOwnMixers->fnPump(); };
                made.m_ChangeElsewhere = [pulse](bool up) {
                    constexpr std::uint32_t kVolume = 1;
                    const auto other = pulse.m_pOwnMixers->fnOpen(0, {});
                    ASSERT_NE(other, nullptr);
                    EXPECT_TRUE(other->fnSetValues(kVolume, 1, {up ? 50000u : 10000u}));
                };
                return made;
            }};
}

ContractBackEnd fnOnServer() {
    return {
        "Server", {CONTRACT::WAVE_OUT, CONTRACT::MIXERS}, [] {
            const CqPulse pulse = fnConnect();
            ContractWorld made;
            made.m_Platform.m_pWaveOut = pulse.m_pWaveOut;
            made.m_Platform.m_pMixers = pulse.m_pMixers;
            made.m_Tick = [pulse] { pulse.m_pMixers->fnPump(); };
            made.m_ChangeElsewhere = [](bool up) {
                ServerForAll::s_pServer->fnControl({"set-sink-volume", "lab", up ? "75%" : "25%"});
            };
            return made;
        }};
}

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    return {fnOnServer(), fnOwnSounds()};
}

std::set<CONTRACT> fnGetOmittedContracts() {
    return {};
}
