// PackBits: the row decoder on arbitrary packets (destination length and
// start offset from the input), and the encoder on the same bytes taken as a
// row, whose packets must decode back to the row and, with a short
// destination, must not pass its capacity.
#include <cstdlib>

#include "fuzz/fuzz_support.h"

namespace {

using namespace zeq::fuzz;

constexpr uint8_t kGuard = 0xA5;

void seeds(SeedSet& set) {
    SeedRandom rng(41);
    for (int n : {1, 2, 7, 130, 300, 1000}) {
        std::vector<uint8_t> row(static_cast<size_t>(n));
        for (size_t i = 0; i < row.size(); ++i)
            row[i] = rng.range(0, 3) == 0 ? static_cast<uint8_t>(rng.next()) : (i ? row[i - 1] : 7);
        std::vector<uint8_t> packed(row.size() * 2 + 2);
        int32_t pos = 0;
        zeqiPackBitsRow_TIFF_8u_C1(row.data(), n, packed.data(), &pos,
                                   static_cast<int32_t>(packed.size()));
        packed.resize(static_cast<size_t>(pos));
        SeedBuilder out;
        out.u16(static_cast<uint32_t>(n - 1)).u8(0).u16(static_cast<uint32_t>(pos)).append(packed);
        set.add(out.bytes());
    }
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const int32_t dstLength = in.range(1, 4096);
    const int32_t start = in.u8() % 4;
    const int32_t capacity = in.range(1, 4096);
    const std::vector<uint8_t> data = in.rest();
    const int32_t n = static_cast<int32_t>(data.size());
    if (n == 0) return;

    // Decoding whatever the bytes are.
    std::vector<uint8_t> row(static_cast<size_t>(dstLength));
    int32_t srcPos = std::min(start, n - 1);
    const int32_t from = srcPos;
    const ZeqStatus status =
        zeqiUnpackBitsRow_TIFF_8u_C1(data.data(), &srcPos, n, row.data(), dstLength);
    if (srcPos < from || srcPos > n) std::abort();
    if (status != StatusOk && status != StatusRowBufferExhausted) std::abort();

    // Encoding the bytes as a row: with room for any packet sequence the row
    // codes and decodes back; a short destination is never overrun.
    std::vector<uint8_t> packed(2 * static_cast<size_t>(n) + 2);
    int32_t pos = 0;
    if (zeqiPackBitsRow_TIFF_8u_C1(data.data(), n, packed.data(), &pos,
                                   static_cast<int32_t>(packed.size())) != StatusOk)
        std::abort();
    std::vector<uint8_t> back(static_cast<size_t>(n));
    int32_t readPos = 0;
    if (zeqiUnpackBitsRow_TIFF_8u_C1(packed.data(), &readPos, pos, back.data(), n) != StatusOk ||
        readPos != pos || back != data)
        std::abort();
    std::vector<uint8_t> shortDst(static_cast<size_t>(capacity) + 16, kGuard);
    int32_t shortPos = 0;
    zeqiPackBitsRow_TIFF_8u_C1(data.data(), n, shortDst.data(), &shortPos, capacity);
    if (shortPos > capacity) std::abort();
    for (size_t i = static_cast<size_t>(capacity); i < shortDst.size(); ++i)
        if (shortDst[i] != kGuard) std::abort();
}
