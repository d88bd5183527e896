#include "platforms/alsa/alsa.h"
#include "tests/contract/MixerContract.h"
#include "tests/support/LabCardFile.h"

namespace {

ContractBackEnd fnOnCard() {
    return {"Card", [] {
                const auto card = std::make_shared<LabCardFile>();
                const auto mixers = std::make_shared<CqAlsaMixers>("lab");
                ContractWorld made;
                made.m_pKeep = card;
                made.m_Platform.m_pMixers = mixers;
                made.m_Tick = [mixers] { mixers->fnPump(); };
                made.m_Turn = [card](bool up) {
                    LabCard turned = card->fnGet();
                    turned.m_nMaster[0] = turned.m_nMaster[1] = up ? 20 : 10;
                    card->fnTurn(turned);
                };
                return made;
            }};
}

const auto kCards = testing::Values(fnOnCard());

} // namespace

INSTANTIATE_TEST_SUITE_P(Alsa, MixerContract, kCards, fnBackEndName);
