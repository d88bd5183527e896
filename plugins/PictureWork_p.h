/// @file
/// Reading and writing pictures on several threads of the platform's work service. Files, progress
/// and everything else of the host is used on the calling thread alone.
#pragma once

#include <cstdint>

namespace q32 {

/// Threads that may work on a picture, the caller included; 1 without a work service.
std::uint32_t fnCountPictureThreads();
/// What a task of the work service costs, in nanoseconds; 0 without one.
double fnGetTaskOverhead();

/// A function that takes a piece's number and its worker's, which is below the count of threads.
struct PieceCall {
    void (*m_fnCall)(const void* work, std::uint32_t index, std::uint32_t worker);
    const void* m_pWork;
};
struct PlainCall {
    void (*m_fnCall)(const void* work);
    const void* m_pWork;
};

void fnRunPieces(std::uint32_t count, PieceCall work);
void fnRunBeside(PlainCall here, PlainCall elsewhere);

/// Calls `work(index, worker)` for each index below `count`, on several threads at once and in any
/// order. It must not throw, and there must be a work service.
template <class Work>
void fnRunPieces(std::uint32_t count, const Work& work) {
    fnRunPieces(count,
                PieceCall{[](const void* function, std::uint32_t index, std::uint32_t worker) {
                              (*static_cast<const Work*>(function))(index, worker);
                          },
                          &work});
}

/// Calls `here()` on this thread while another one calls `elsewhere()`; if none is free, this one
/// calls both, in any order. Neither may throw, and there must be a work service.
template <class Here, class Elsewhere>
void fnRunBeside(const Here& here, const Elsewhere& elsewhere) {
    fnRunBeside(
        PlainCall{[](const void* function) { (*static_cast<const Here*>(function))(); }, &here},
        PlainCall{[](const void* function) { (*static_cast<const Elsewhere*>(function))(); },
                  &elsewhere});
}

} // namespace q32
