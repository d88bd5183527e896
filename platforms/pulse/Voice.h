#pragma once

#include "platforms/pulse/Connection.h"
#include "platforms/pulse/Reporter.h"
#include "q32Base/platform/CqWaveOutService.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

namespace q32::pulse {

/// What an opened device does. It may outlive the device's object by a report, or by a call that is
/// under way. The connection's lock guards it, and each function takes that lock, but for callbacks
/// and those that say otherwise.
struct Voice {
    Voice(std::shared_ptr<Connection> connection, std::shared_ptr<Reporter> reporter,
          const pa_sample_spec& spec, CqWaveOutService::Done done);

    const std::shared_ptr<Connection> m_pConnection;
    const std::shared_ptr<Reporter> m_pReporter;
    const pa_sample_spec m_Spec;
    const CqWaveOutService::Done m_Done;

    bool fnPrepare(WAVEHDR& header);
    bool fnUnprepare(WAVEHDR& header);
    /// @param self  this one, which the block's report then holds
    bool fnWrite(const std::shared_ptr<Voice>& self, WAVEHDR& header);
    bool fnSetPaused(bool paused);
    void fnReset();
    /// Gives the block back without a report; nothing is reported after that.
    void fnClose();
    /// Whether a block plays, and how far into the present pass it has been heard, in bytes. The
    /// lock is held.
    bool fnTellPosition(std::uint64_t& bytes) const;

private:
    bool fnStart();
    bool fnOpenStream();
    void fnFeed(std::size_t room);
    void fnFill(void* room, std::size_t bytes) const;
    void fnDrain();
    void fnDrainGivenUp();
    void fnEndLate();
    void fnForgetLate();
    std::uint64_t fnGetHeard() const;
    std::uint64_t fnGetSurelyHeard() const;
    void fnEnd();
    static void fnLetGo(pa_stream* stream);
    void fnDropStream();
    bool fnCork(bool cork);

    std::set<const WAVEHDR*> m_Prepared;
    Reporter::Jobs m_Job; ///< the report of the block that plays
    WAVEHDR* m_pPlaying = nullptr;
    pa_stream* m_pStream = nullptr;
    pa_operation* m_pDrain = nullptr;
    pa_time_event* m_pLate = nullptr;
    std::uint64_t m_nLength = 0;    ///< bytes of one pass
    std::uint64_t m_nTotal = 0;     ///< bytes of all passes
    std::uint64_t m_nPlaced = 0;    ///< bytes that the server has
    std::uint64_t m_nLateHeard = 0; ///< bytes heard when the wait for a late end began
    bool m_bStarted = false;        ///< the server has taken the block
    bool m_bPaused = false;
    bool m_bClosed = false;
};

} // namespace q32::pulse
