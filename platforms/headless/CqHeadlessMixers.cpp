#include "platforms/headless/CqHeadlessMixers.h"

#include <algorithm>
#include <deque>
#include <utility>

struct CqHeadlessMixers::State {
    struct Open {
        std::uint32_t m_nDevice;
        Changed m_Changed;
    };
    struct Report {
        std::weak_ptr<Open> m_pOpen; ///< expires with the mixer
        std::uint32_t m_nControl;
    };
    std::vector<CqHeadlessMixerDevice> m_Devices;
    std::vector<std::weak_ptr<Open>> m_Open;
    std::deque<Report> m_Reports;

    CqHeadlessControl* fnFind(std::uint32_t device, CQ_MIXER_CONTROL type) {
        if (device >= m_Devices.size())
            return nullptr;
        auto& controls = m_Devices[device].m_Controls;
        const auto found = std::find_if(controls.begin(), controls.end(),
                                        [&](const auto& one) { return one.m_Type == type; });
        return found == controls.end() ? nullptr : &*found;
    }

    void fnReport(std::uint32_t device, std::uint32_t control) {
        std::erase_if(m_Open, [](const auto& open) { return open.expired(); });
        for (const auto& open : m_Open)
            if (open.lock()->m_nDevice == device)
                m_Reports.push_back({open, control});
    }

    void fnStore(std::uint32_t device, CqHeadlessControl& control,
                 const std::vector<std::uint32_t>& values) {
        if (control.m_Values == values)
            return;
        control.m_Values = values;
        fnReport(device, control.m_nId);
    }
};

class CqHeadlessMixers::Mixer final : public CqMixer {
public:
    Mixer(std::shared_ptr<State> state, std::shared_ptr<State::Open> open,
          std::shared_ptr<Calls> calls)
        : m_pState(std::move(state)), m_pOpen(std::move(open)), m_pCalls(std::move(calls)) {}

    bool fnFindSpeakerLine(CqMixerLine& line) override {
        const CqHeadlessMixerDevice& device = fnGetDevice();
        if (!m_pCalls->m_FindSpeakerLine.fnPass() || !device.m_bHasSpeakers)
            return false;
        line.m_nLineId = device.m_nLineId;
        line.m_nChannels = device.m_nChannels;
        line.m_nControls = static_cast<std::uint32_t>(device.m_Controls.size());
        return true;
    }

    bool fnFindControl(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id) override {
        const CqHeadlessControl* control = m_pState->fnFind(m_pOpen->m_nDevice, type);
        if (!m_pCalls->m_FindControl.fnPass() || lineId != fnGetDevice().m_nLineId || !control)
            return false;
        id = control->m_nId;
        return true;
    }

    bool fnGetValues(std::uint32_t control, std::uint32_t channels,
                     std::vector<std::uint32_t>& values) override {
        const CqHeadlessControl* found = fnFindById(control);
        if (!m_pCalls->m_GetValues.fnPass() || !found || !fnTakesChannels(channels) ||
            values.empty())
            return false;
        const std::size_t had = channels == 1 ? 1 : found->m_Values.size();
        values.assign(found->m_Values.begin(),
                      found->m_Values.begin() +
                          static_cast<std::ptrdiff_t>(std::min(values.size(), had)));
        return true;
    }

    bool fnSetValues(std::uint32_t control, std::uint32_t channels,
                     const std::vector<std::uint32_t>& values) override {
        CqHeadlessControl* found = fnFindById(control);
        const std::uint32_t most = found && found->m_Type == CQ_MIXER_CONTROL::MUTE ? 1u : 0xFFFFu;
        const auto tooHigh = [&](std::uint32_t value) { return value > most; };
        if (!m_pCalls->m_SetValues.fnPass() || !found || !fnTakesChannels(channels) ||
            values.empty() || std::any_of(values.begin(), values.end(), tooHigh))
            return false;
        const std::size_t given = channels == 1 ? 1 : values.size();
        std::vector<std::uint32_t> stored(found->m_Values.size());
        for (std::size_t i = 0; i < stored.size(); ++i)
            stored[i] = values[std::min(i, given - 1)];
        m_pState->fnStore(m_pOpen->m_nDevice, *found, stored);
        return true;
    }

private:
    const CqHeadlessMixerDevice& fnGetDevice() const {
        return m_pState->m_Devices[m_pOpen->m_nDevice];
    }
    bool fnTakesChannels(std::uint32_t channels) const {
        return channels == 1 || channels == fnGetDevice().m_nChannels;
    }
    CqHeadlessControl* fnFindById(std::uint32_t id) const {
        auto& controls = m_pState->m_Devices[m_pOpen->m_nDevice].m_Controls;
        const auto found = std::find_if(controls.begin(), controls.end(),
                                        [&](const auto& one) { return one.m_nId == id; });
        return found == controls.end() || id == 0 ? nullptr : &*found;
    }

    std::shared_ptr<State> m_pState;
    std::shared_ptr<State::Open> m_pOpen;
    std::shared_ptr<Calls> m_pCalls;
};

CqHeadlessMixers::CqHeadlessMixers() : m_pState(std::make_shared<State>()) {}

CqHeadlessMixers::~CqHeadlessMixers() = default;

std::uint32_t CqHeadlessMixers::fnAddDevice(const CqHeadlessMixerDevice& device) {
    m_pState->m_Devices.push_back(device);
    return fnGetCount() - 1;
}

CqHeadlessMixerDevice CqHeadlessMixers::fnMakeUsualDevice() {
    CqHeadlessMixerDevice device;
    device.m_Controls = {{CQ_MIXER_CONTROL::MUTE, 1, {0}},
                         {CQ_MIXER_CONTROL::VOLUME, 2, {32768, 32768}},
                         {CQ_MIXER_CONTROL::BASS, 3, {32768}},
                         {CQ_MIXER_CONTROL::TREBLE, 4, {32768}}};
    return device;
}

bool CqHeadlessMixers::fnMove(std::uint32_t index, CQ_MIXER_CONTROL type,
                              const std::vector<std::uint32_t>& values) {
    CqHeadlessControl* control = m_pState->fnFind(index, type);
    if (!control || control->m_Values.size() != values.size())
        return false;
    m_pState->fnStore(index, *control, values);
    return true;
}

void CqHeadlessMixers::fnReport(std::uint32_t index, std::uint32_t control) {
    m_pState->fnReport(index, control);
}

std::vector<std::uint32_t> CqHeadlessMixers::fnGetValues(std::uint32_t index,
                                                         CQ_MIXER_CONTROL type) const {
    const CqHeadlessControl* control = m_pState->fnFind(index, type);
    return control ? control->m_Values : std::vector<std::uint32_t>();
}

std::size_t CqHeadlessMixers::fnPump() {
    // Changes made during a report wait for the next pump.
    std::deque<State::Report> reports = std::exchange(m_pState->m_Reports, {});
    std::size_t notified = 0;
    for (const State::Report& report : reports) {
        const std::shared_ptr<State::Open> open = report.m_pOpen.lock();
        if (!open || !open->m_Changed)
            continue;
        open->m_Changed(report.m_nControl);
        ++notified;
    }
    return notified;
}

std::size_t CqHeadlessMixers::fnGetOpen() const {
    return static_cast<std::size_t>(
        std::count_if(m_pState->m_Open.begin(), m_pState->m_Open.end(),
                      [](const auto& open) { return !open.expired(); }));
}

std::uint32_t CqHeadlessMixers::fnGetCount() {
    return static_cast<std::uint32_t>(m_pState->m_Devices.size());
}

std::unique_ptr<CqMixer> CqHeadlessMixers::fnOpen(std::uint32_t index, Changed changed) {
    if (!m_pCalls->m_Open.fnPass() || index >= fnGetCount() || !m_pState->m_Devices[index].m_bOpens)
        return nullptr;
    auto open = std::make_shared<State::Open>(State::Open{index, std::move(changed)});
    auto mixer = std::make_unique<Mixer>(m_pState, open, m_pCalls);
    std::erase_if(m_pState->m_Open, [](const auto& former) { return former.expired(); });
    m_pState->m_Open.emplace_back(open);
    return mixer;
}
