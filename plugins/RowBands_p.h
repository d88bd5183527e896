#pragma once

#include "plugins/PictureWork_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace q32 {

/// Nanoseconds in which a byte is stored in the image or fetched from it.
constexpr double kCopyTime = 0.3;

/// The rows of a picture on their way between a file and the image. With a work service, they are
/// held in two bands: while this thread decodes or encodes one, another stores or fetches the
/// other. File and progress are then used by this thread in the same order as for one row after the
/// other.
class RowBands {
public:
    /// @param rowBytes     of a row between decoder or encoder and image
    /// @param nanoseconds  roughly what storing or fetching a row takes
    /// @param most         bytes that bands may take. If they take more, and for few rows, one row
    ///                     is held, and this thread does everything.
    /// Throws std::bad_alloc. The rows are arbitrary at first.
    RowBands(std::uint32_t rows, std::size_t rowBytes, double nanoseconds, std::uint64_t most);

    /// Calls for each row i, counted from 0, `decode(i, row)`, `store(i, row)` and `report(i)`.
    /// What one of them throws ends that, once the rows ahead are stored. `store` may run on
    /// another thread, and after the report.
    template <class Decode, class Store, class Report>
    void fnRead(const Decode& decode, const Store& store, const Report& report);

    /// The same with `fetch(i, row)`, `encode(i, row)` and `report(i)`. `fetch` may run on another
    /// thread.
    template <class Fetch, class Encode, class Report>
    void fnWrite(const Fetch& fetch, const Encode& encode, const Report& report);

private:
    /// Calls `work(i, row)` for the rows from `first` to before `end`, of which the first lies at
    /// `rows`. Sets `first` to that which threw, and keeps what it threw.
    template <class Work>
    void fnTry(std::uint32_t& first, std::uint32_t end, unsigned char* rows,
               std::exception_ptr& failure, const Work& work) const noexcept {
        try {
            for (; first < end; ++first, rows += m_nRowBytes)
                work(first, rows);
        } catch (...) {
            failure = std::current_exception();
        }
    }
    static void fnRethrow(const std::exception_ptr& failure) {
        if (failure)
            std::rethrow_exception(failure);
    }
    unsigned char* fnGetBand(unsigned int index) const {
        return m_pRows.get() + index * m_nBand * m_nRowBytes;
    }
    std::uint32_t fnGetEnd(std::uint32_t first) const {
        return first + std::min(m_nBand, m_nRows - first);
    }

    std::uint32_t m_nRows;
    std::size_t m_nRowBytes;
    std::uint32_t m_nBand = 0; ///< rows of a band; 0: a single row is held
    std::unique_ptr<unsigned char[]> m_pRows;
};

template <class Decode, class Store, class Report>
void RowBands::fnRead(const Decode& decode, const Store& store, const Report& report) {
    const auto decodeAndReport = [&](std::uint32_t i, unsigned char* row) {
        decode(i, row);
        report(i);
    };
    for (std::uint32_t i = 0; m_nBand == 0 && i < m_nRows; ++i) {
        decode(i, m_pRows.get());
        store(i, m_pRows.get());
        report(i);
    }
    unsigned char* empty = fnGetBand(0);
    unsigned char* full = fnGetBand(1);
    std::uint32_t first = 0; // of the rows in the full band
    std::uint32_t next = 0;  // beyond these
    std::exception_ptr failure;
    std::exception_ptr lost;
    while (m_nBand != 0 && (first < next || (next < m_nRows && !failure))) {
        std::uint32_t decoded = next;
        const std::uint32_t end = failure ? next : fnGetEnd(next);
        fnRunBeside([&] { fnTry(decoded, end, empty, failure, decodeAndReport); },
                    [&] { fnTry(first, next, full, lost, store); });
        fnRethrow(lost);
        std::swap(empty, full);
        first = next;
        next = decoded;
    }
    fnRethrow(failure);
}

template <class Fetch, class Encode, class Report>
void RowBands::fnWrite(const Fetch& fetch, const Encode& encode, const Report& report) {
    const auto encodeAndReport = [&](std::uint32_t i, unsigned char* row) {
        encode(i, row);
        report(i);
    };
    for (std::uint32_t i = 0; m_nBand == 0 && i < m_nRows; ++i) {
        fetch(i, m_pRows.get());
        encodeAndReport(i, m_pRows.get());
    }
    unsigned char* empty = fnGetBand(0);
    unsigned char* full = fnGetBand(1);
    std::uint32_t first = 0; // of the rows in the full band
    std::uint32_t next = 0;  // beyond these
    std::exception_ptr failure;
    std::exception_ptr lost;
    while (m_nBand != 0 && (first < next || (next < m_nRows && !lost))) {
        std::uint32_t fetched = next;
        const std::uint32_t end = lost ? next : fnGetEnd(next);
        fnRunBeside([&] { fnTry(first, next, full, failure, encodeAndReport); },
                    [&] { fnTry(fetched, end, empty, lost, fetch); });
        fnRethrow(failure);
        std::swap(empty, full);
        first = next;
        next = fetched;
    }
    fnRethrow(lost);
}

} // namespace q32
