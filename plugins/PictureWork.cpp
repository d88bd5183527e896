#include "plugins/PictureWork_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

namespace q32 {

namespace {

class Pieces final : public CqWorkPieces {
public:
    explicit Pieces(const PieceCall& work) : m_Work(work) {}

    void fnRunPiece(std::uint32_t index, std::uint32_t worker) noexcept override {
        m_Work.m_fnCall(m_Work.m_pWork, index, worker);
    }

private:
    PieceCall m_Work;
};

/// Two pieces. Which of the calls a piece makes depends on its thread: the first call belongs to
/// the thread that made this object.
class Beside final : public CqWorkPieces {
public:
    Beside(const PlainCall& here, const PlainCall& elsewhere)
        : m_Here(here), m_Elsewhere(elsewhere) {}

    void fnRunPiece(std::uint32_t index, std::uint32_t) noexcept override {
        if (std::this_thread::get_id() != m_Thread)
            fnCallElsewhere();
        else if (index == 0 || !fnCallElsewhere())
            fnCallHere();
    }

    /// Unless a piece has done so: other threads may have taken both.
    void fnCallHere() {
        if (std::exchange(m_bCalledHere, true))
            return;
        m_Here.m_fnCall(m_Here.m_pWork);
    }

private:
    bool fnCallElsewhere() {
        if (m_bCalledElsewhere.exchange(true))
            return false;
        m_Elsewhere.m_fnCall(m_Elsewhere.m_pWork);
        return true;
    }

    const std::thread::id m_Thread = std::this_thread::get_id();
    PlainCall m_Here;
    PlainCall m_Elsewhere;
    bool m_bCalledHere = false; ///< used by that thread alone
    std::atomic<bool> m_bCalledElsewhere = false;
};

CqWorkService* fnFindService() {
    return fnPlatform().m_pWork.get();
}

} // namespace

std::uint32_t fnCountPictureThreads() {
    return fnFindService() ? std::max(fnFindService()->fnGetConcurrency(), 1u) : 1;
}

double fnGetTaskOverhead() {
    return fnFindService() ? static_cast<double>(fnFindService()->fnGetOverhead().count()) : 0.0;
}

void fnRunPieces(std::uint32_t count, PieceCall work) {
    Pieces pieces(work);
    fnFindService()->fnRun(count, pieces);
}

void fnRunBeside(PlainCall here, PlainCall elsewhere) {
    Beside pieces(here, elsewhere);
    fnFindService()->fnRun(2, pieces);
    pieces.fnCallHere();
}

} // namespace q32
