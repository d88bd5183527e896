/// @file Archives and files in memory: values loaded from any bytes are stored as the same bytes, a
/// truncated curve changes nothing, and a memory file holds what a plain string would.

#include "fuzz/FuzzInput.h"
#include "q32Base/framework/CArchive.h"
#include "q32Base/geometry/CqCubicBezier2D.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

using namespace q32::fuzz;

template <typename Value>
void fnCopy(CArchive& from, CArchive& to) {
    Value value{};
    from >> value;
    to << value;
}

void fnCopyColor(CArchive& from, CArchive& to) {
    CqColor color;
    color.fnSerialize(from);
    color.fnSerialize(to);
}

void fnCopyCurve(CArchive& from, CArchive& to) {
    CqCubicBezier2D curve;
    const CqCubicBezier2D before = curve;
    if (!fnTry([&] { curve.fnSerialize(from); })) {
        // By bytes: coordinates may be NaN. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        fnCheck(std::memcmp(&curve, &before, sizeof(curve)) == 0, "a failed load changes nothing");
        AfxThrowArchiveException(CArchiveException::endOfFile);
    }
    curve.fnSerialize(to);
}

void fnCopyBlock(CArchive& from, CArchive& to, std::size_t count) {
    Bytes block(count);
    to.Write(block.data(), from.Read(block.data(), count));
}

void fnCopyNext(CArchive& from, CArchive& to, std::uint8_t kind) {
    switch (kind % 8) {
    case 0:
        return fnCopy<std::uint8_t>(from, to);
    case 1:
        return fnCopy<std::uint16_t>(from, to);
    case 2:
        return fnCopy<std::uint32_t>(from, to);
    case 3:
        return fnCopy<std::int32_t>(from, to);
    case 4:
        return fnCopy<double>(from, to);
    case 5:
        return fnCopyColor(from, to);
    case 6:
        return fnCopyCurve(from, to);
    default:
        return fnCopyBlock(from, to, std::size_t{kind} * 64);
    }
}

/// `kinds` says what the bytes are.
void fnTryArchive(const Bytes& kinds, const Bytes& bytes) {
    CMemFile source(bytes.data(), bytes.size());
    CMemFile target;
    CArchive from(&source, CArchive::load);
    CArchive to(&target, CArchive::store);
    for (const std::uint8_t kind : kinds)
        if (!fnTry([&] { fnCopyNext(from, to, kind); }))
            break;
    to.Close();
    fnCheck(!fnTry([&] { from << std::uint8_t{1}; }), "a loading archive stores nothing");
    fnCheck(target.GetLength() <= bytes.size() &&
                std::equal(bytes.begin(),
                           bytes.begin() + static_cast<std::ptrdiff_t>(target.GetLength()),
                           target.GetData()),
            "what is loaded is stored");
}

void fnTryFile(Input& input) {
    const Bytes start = input.fnBytes(600);
    CMemFile file(start.data(), start.size());
    std::string plain(start.begin(), start.end());
    std::size_t at = 0;
    while (!input.fnIsEmpty()) {
        const unsigned int kind = input.fnBelow(3);
        if (kind == 0) {
            at = input.fnWord() % 5000;
            file.Seek(at);
        } else if (kind == 1) {
            const std::string bytes = input.fnString(300);
            file.Write(bytes.data(), bytes.size());
            if (!bytes.empty())
                plain.resize(std::max(plain.size(), at + bytes.size()));
            plain.replace(std::min(at, plain.size()), bytes.size(), bytes);
            at += bytes.size();
        } else {
            std::string bytes(input.fnByte(), '?');
            const std::size_t read = file.Read(bytes.data(), bytes.size());
            bytes.resize(read);
            const std::size_t from = std::min(at, plain.size());
            fnCheck(bytes == plain.substr(from, read) &&
                        (read == bytes.capacity() || from + read <= plain.size()),
                    "what is written is read");
            at += read;
        }
        fnCheck(file.GetLength() == plain.size(), "a file has its length");
    }
    fnCheck(plain.empty() || std::memcmp(file.GetData(), plain.data(), plain.size()) == 0,
            "a file has its bytes");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const Bytes kinds = input.fnBytes(64);
    const Bytes bytes = input.fnBytes(12000);
    fnTryArchive(kinds, bytes);
    fnTryFile(input);
    return 0;
}
