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

ContractBackEnd fnOnServer() {
    return {
        "Server", {CONTRACT::WAVE_OUT, CONTRACT::MIXERS}, [] {
            ServerForAll::s_pServer->fnRestore();
            CqPulseOptions options;
            options.m_szServer = ServerForAll::s_pServer->fnGetAddress();
            options.m_Latency = std::chrono::milliseconds(50);
            const CqPulse pulse = q32Pulse(options);
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
    return {fnOnServer()};
}

std::set<CONTRACT> fnGetOmittedContracts() {
    return {};
}
