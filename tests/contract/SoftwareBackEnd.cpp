#include "platforms/software/software.h"
#include "tests/contract/ContractBackEnd.h"
#include "tests/contract/SoftwareModules.h"

std::vector<ContractBackEnd> fnGetBackEnds() {
    return {{"Software", {CONTRACT::REGIONS, CONTRACT::PALETTES, CONTRACT::RESOURCES}, [] {
                 ContractWorld made;
                 made.m_Platform = q32SoftwareServices();
                 made.m_pModules = std::make_shared<SoftwareModules>(
                     std::dynamic_pointer_cast<CqSoftwareResources>(made.m_Platform.m_pResources));
                 return made;
             }}};
}

std::set<CONTRACT> fnGetOmittedContracts() {
    // The devices are absent; SoftwareServicesTest covers their stand-ins.
    return {CONTRACT::SCREEN,  CONTRACT::BOXES,     CONTRACT::ERRORS,   CONTRACT::KEYBOARD,
            CONTRACT::WINDOWS, CONTRACT::DUMP_VIEW, CONTRACT::WAVE_OUT, CONTRACT::MIXERS};
}
