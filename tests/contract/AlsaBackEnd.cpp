#include "platforms/alsa/alsa.h"
#include "tests/contract/ContractBackEnd.h"
#include "tests/support/LabCardFile.h"

namespace {

ContractBackEnd fnOnCard() {
    return {"Card", {CONTRACT::MIXERS}, [] {
                const auto card = std::make_shared<LabCardFile>();
                const auto mixers = std::make_shared<CqAlsaMixers>("lab");
                ContractWorld made;
                made.m_pKeep = card;
                made.m_Platform.m_pMixers = mixers;
                made.m_Tick = [mixers] { mixers->fnPump(); };
                made.m_ChangeElsewhere = [card](bool up) {
                    LabCard turned = card->fnGet();
                    turned.m_nMaster[0] = turned.m_nMaster[1] = up ? 20 : 10;
                    card->fnWriteCard(turned);
                };
                return made;
            }};
}

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    return {fnOnCard()};
}
