#include "examples/darkroom/model/History.h"

#include "examples/darkroom/model/Step.h"

namespace darkroom {

namespace {

/// Deletes the oldest entries of a stack, which come first, and moves the others down.
void fnKeepNewest(std::uint32_t levels, CObArray& bufs, CDWordArray& data, std::uint32_t& count) {
    if (count <= levels)
        return;
    const std::uint32_t surplus = count - levels;
    for (std::uint32_t i = 0; i < surplus; ++i)
        delete bufs[static_cast<int>(i)];
    for (std::uint32_t i = surplus; i < count; ++i) {
        bufs[static_cast<int>(i - surplus)] = bufs[static_cast<int>(i)];
        data[static_cast<int>(i - surplus)] = data[static_cast<int>(i)];
    }
    for (std::uint32_t i = levels; i < count; ++i)
        bufs[static_cast<int>(i)] = nullptr;
    count = levels;
}

bool fnDropFirst(CObArray& bufs, CDWordArray& data, std::uint32_t& count) {
    if (count == 0)
        return false;
    fnKeepNewest(count - 1, bufs, data, count);
    return true;
}

} // namespace

bool History::fnSetLevels(unsigned int levels) {
    fnKeepNewest(levels, m_UndoBufs, m_UndoData, m_nUndoCount);
    fnKeepNewest(levels, m_RedoBufs, m_RedoData, m_nRedoCount);
    return fnChangeLevel(levels);
}

void History::fnForgetRedo() {
    fnKeepNewest(0, m_RedoBufs, m_RedoData, m_nRedoCount);
}

std::vector<std::string> History::fnListNames() const {
    std::vector<std::string> names;
    const auto add = [&](const CObArray& bufs, std::uint32_t index) {
        names.push_back(static_cast<const Step*>(bufs[static_cast<int>(index)])->fnGetName());
    };
    for (std::uint32_t i = 0; i < m_nUndoCount; ++i)
        add(m_UndoBufs, i);
    for (std::uint32_t i = m_nRedoCount; i-- > 0;) // the next one comes last
        add(m_RedoBufs, i);
    return names;
}

bool History::fnDropLastRedo() {
    return fnDropFirst(m_RedoBufs, m_RedoData, m_nRedoCount);
}

bool History::fnDropOldestUndo() {
    return fnDropFirst(m_UndoBufs, m_UndoData, m_nUndoCount);
}

} // namespace darkroom
