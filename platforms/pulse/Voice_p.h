#pragma once

#include "platforms/pulse/Connection_p.h"
#include "platforms/pulse/Reporter_p.h"
#include "q32Base/platform/CqWaveOutService.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

namespace q32::pulse {

/// The state of an open device. It may outlive the device's object by a report, or by a running
/// call. The connection's lock guards it; each function takes that lock, except callbacks and where
/// stated otherwise.
struct Voice {
    Voice(std::shared_ptr<Connection> connection, std::shared_ptr<Reporter> reporter,
          const pa_sample_spec& spec, CqWaveOutService::Done done);

    const std::shared_ptr<Connection> m_pConnection;
    const std::shared_ptr<Reporter> m_pReporter;
    const pa_sample_spec m_Spec;
    const CqWaveOutService::Done m_Done;

    bool fnPrepare(WAVEHDR& header);
    bool fnUnprepare(WAVEHDR& header);
    /// @param self  this object; the block's report shares ownership of it
    bool fnWrite(const std::shared_ptr<Voice>& self, WAVEHDR& header);
    bool fnSetPaused(bool paused);
    void fnReset();
    /// Returns the block without a report; nothing is reported after that.
    void fnClose();
    /// Whether a block is playing, and how much of the current pass has been heard, in bytes.
    /// Requires the lock.
    bool fnReadPosition(std::uint64_t& bytes) const;

private:
    bool fnStart();
    bool fnOpenStream();
    bool fnConnectStream();
    void fnCatchUpVolume() const;
    void fnSettleLater();
    void fnSettle();
    void fnFeed(std::size_t room);
    void fnFill(void* room, std::size_t bytes) const;
    void fnDrain();
    void fnDrainGivenUp();
    void fnEndLate();
    /// Ends a wait, if there is one.
    void fnForget(pa_time_event*& event);
    std::uint64_t fnGetHeard() const;
    std::uint64_t fnGetSurelyHeard() const;
    void fnEnd();
    static void fnLetGo(pa_stream* stream);
    void fnDropStream();
    bool fnCork(bool cork);

    std::set<const WAVEHDR*> m_Prepared;
    Reporter::Jobs m_Job; ///< the report of the playing block
    WAVEHDR* m_pPlaying = nullptr;
    pa_stream* m_pStream = nullptr;
    pa_operation* m_pDrain = nullptr;
    pa_time_event* m_pLate = nullptr;
    pa_time_event* m_pSettle = nullptr;
    std::uint64_t m_nLength = 0;    ///< bytes per pass
    std::uint64_t m_nTotal = 0;     ///< bytes of all passes
    std::uint64_t m_nPlaced = 0;    ///< bytes passed to the server
    std::uint64_t m_nLateHeard = 0; ///< bytes heard when the wait for a late end began
    bool m_bStarted = false;        ///< the server has accepted the block
    bool m_bPaused = false;
    bool m_bClosed = false;
};

} // namespace q32::pulse
