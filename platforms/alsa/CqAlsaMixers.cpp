#include "platforms/alsa/CqAlsaMixers.h"

#include "platforms/alsa/Card_p.h"
#include "platforms/common/Descriptor_p.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <new>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <utility>

using namespace q32::alsa;
using q32::Descriptor;

namespace {

constexpr std::uint32_t kLine = 1;
constexpr std::uint32_t kChannels = 2;
constexpr std::uint32_t kLastControl = 4;

} // namespace

struct CqAlsaMixers::State {
    /// An open mixer. It outlives its object by a report.
    struct Open {
        Open(std::unique_ptr<Card> card, Changed changed)
            : m_pCard(std::move(card)), m_Changed(std::move(changed)) {}

        const std::unique_ptr<Card> m_pCard;
        const Changed m_Changed;
        bool m_bClosed = false;
    };

    explicit State(std::string device)
        : m_szDevice(std::move(device)), m_All(::epoll_create1(EPOLL_CLOEXEC)),
          m_Pending(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (m_All && m_Pending)
            fnWatch(EPOLL_CTL_ADD, m_Pending.fnGet());
    }

    const std::string m_szDevice;
    const Descriptor m_All;     ///< the descriptors of all open cards, and m_Pending
    const Descriptor m_Pending; ///< signals changes found by a call other than a pump
    std::vector<std::shared_ptr<Open>> m_Open{};

    bool fnWatch(int what, int descriptor) const {
        epoll_event event{};
        event.events = EPOLLIN;
        return ::epoll_ctl(m_All.fnGet(), what, descriptor, &event) == 0;
    }
    bool fnWatch(int what, const Card& card) const {
        bool done = true;
        for (const pollfd& one : card.fnGetDescriptors())
            done = fnWatch(what, one.fd) && done;
        return done;
    }
    /// Processes a card's events. The descriptor of a removed card would stay readable for ever.
    bool fnUpdate(const Open& open) const {
        const bool there = open.m_pCard->fnUpdate();
        if (!there)
            fnWatch(EPOLL_CTL_DEL, *open.m_pCard);
        return there;
    }
};

class CqAlsaMixers::Mixer final : public CqMixer {
public:
    Mixer(std::shared_ptr<State> state, std::shared_ptr<State::Open> open)
        : m_pState(std::move(state)), m_pOpen(std::move(open)) {}
    ~Mixer() override {
        q32::fnTryMemoryOr(false,
                           [&] { return m_pState->fnWatch(EPOLL_CTL_DEL, *m_pOpen->m_pCard); });
        m_pOpen->m_bClosed = true;
        std::erase(m_pState->m_Open, m_pOpen);
    }

    bool fnFindSpeakerLine(CqMixerLine& line) override {
        if (!q32::fnTryMemoryOr(false, [&] { return fnUpdate(); }))
            return false;
        line = {kLine, kChannels, m_pOpen->m_pCard->fnCountControls()};
        return line.m_nControls != 0;
    }

    bool fnFindControl(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id) override {
        const std::uint32_t requested = Card::fnGetId(type);
        if (lineId != kLine || !m_pOpen->m_pCard->fnFind(requested))
            return false;
        id = requested;
        return true;
    }

    bool fnGetValues(std::uint32_t control, std::uint32_t channels,
                     std::vector<std::uint32_t>& values) override {
        return q32::fnTryMemoryOr(false, [&] {
            const Control* found = fnFind(control, channels);
            Values had = found ? found->fnGet() : Values();
            if (values.empty() || had.empty())
                return false;
            had.resize(std::min({values.size(), had.size(), std::size_t{channels}}));
            values = std::move(had);
            return true;
        });
    }

    bool fnSetValues(std::uint32_t control, std::uint32_t channels,
                     const std::vector<std::uint32_t>& values) override {
        return q32::fnTryMemoryOr(false, [&] {
            Control* found = fnFind(control, channels);
            const std::uint32_t most = found && found->fnIsMute() ? 1 : 0xFFFF;
            if (!found || values.empty() ||
                std::any_of(values.begin(), values.end(), [&](auto one) { return one > most; }))
                return false;
            const bool pair = channels == kChannels && values.size() > 1;
            const bool done = found->fnSet(values[0], pair ? values[1] : values[0]);
            m_pOpen->m_pCard->fnCompare();
            fnWake();
            return done;
        });
    }

private:
    /// Updates to the card's current state before a read or comparison. Changes found this way
    /// still wake the owner's loop.
    bool fnUpdate() {
        const bool there = m_pState->fnUpdate(*m_pOpen);
        fnWake();
        return there;
    }
    void fnWake() const {
        if (m_pOpen->m_pCard->fnHasPending())
            ::eventfd_write(m_pState->m_Pending.fnGet(), 1);
    }
    Control* fnFind(std::uint32_t control, std::uint32_t channels) {
        const bool known = channels == 1 || channels == kChannels;
        return known && fnUpdate() ? m_pOpen->m_pCard->fnFind(control) : nullptr;
    }

    const std::shared_ptr<State> m_pState;
    const std::shared_ptr<State::Open> m_pOpen;
};

CqAlsaMixers::CqAlsaMixers(std::string device)
    : m_pState(std::make_shared<State>(std::move(device))) {}

CqAlsaMixers::~CqAlsaMixers() = default;

int CqAlsaMixers::fnGetDescriptor() const {
    return m_pState->m_Pending ? m_pState->m_All.fnGet() : -1;
}

std::size_t CqAlsaMixers::fnPump() {
    const std::shared_ptr<State> state = m_pState; // a report may destroy the service
    using Mixers = std::vector<std::shared_ptr<State::Open>>;
    const Mixers mixers = q32::fnTryMemoryOr(Mixers(), [&] {
        Mixers open = state->m_Open;
        eventfd_t ignored = 0;
        ::eventfd_read(state->m_Pending.fnGet(), &ignored);
        return open;
    });
    std::size_t notified = 0;
    for (const std::shared_ptr<State::Open>& open : mixers) {
        if (!open->m_bClosed)
            q32::fnTryMemoryOr(false, [&] { return state->fnUpdate(*open); });
        for (std::uint32_t id = 1; id <= kLastControl && !open->m_bClosed; ++id) {
            Control* control = open->m_pCard->fnFind(id);
            if (!control || !std::exchange(control->m_bPending, false))
                continue;
            ++notified;
            try {
                if (open->m_Changed)
                    open->m_Changed(id);
            } catch (...) { // anything that a host throws; the rest is reported by the next pump
                ::eventfd_write(state->m_Pending.fnGet(), 1);
                throw;
            }
        }
    }
    return notified;
}

std::uint32_t CqAlsaMixers::fnGetCount() {
    return q32::fnTryMemoryOr(0u, [&] { return Card::fnOpen(m_pState->m_szDevice) ? 1u : 0u; });
}

std::unique_ptr<CqMixer> CqAlsaMixers::fnOpen(std::uint32_t index, Changed changed) {
    return q32::fnTryMemoryOr(std::unique_ptr<CqMixer>(), [&]() -> std::unique_ptr<CqMixer> {
        std::unique_ptr<Card> card;
        if (index == 0 && fnGetDescriptor() >= 0)
            card = Card::fnOpen(m_pState->m_szDevice);
        if (!card || !m_pState->fnWatch(EPOLL_CTL_ADD, *card))
            return nullptr;
        auto open = std::make_shared<State::Open>(std::move(card), std::move(changed));
        m_pState->m_Open.push_back(open);
        return std::make_unique<Mixer>(m_pState, std::move(open));
    });
}
