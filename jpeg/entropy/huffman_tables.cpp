#include "jpeg/entropy/huffman_tables.h"

#include <cstring>

namespace zeq {

namespace {

// The running total of the counts must not pass the alphabet at any length.
bool countsFitAlphabet(const uint8_t* bits) {
    int total = 0;
    for (int i = 0; i < kMaxCodeLength; ++i) {
        if (total + bits[i] > kHuffmanSymbols) return false;
        total += bits[i];
    }
    return true;
}

// Calls visit(length, firstIndex, count, firstCode) for every length 1..16 in
// canonical code order; the code doubles once per length step. Codes are kept
// in 32 bits: an over-subscribed decode table may run past 16 bits.
template <class Visit>
void forEachLength(const uint8_t* bits, Visit visit) {
    uint32_t code = 0;
    int index = 0;
    for (int length = 1; length <= kMaxCodeLength; ++length) {
        const int count = bits[length - 1];
        visit(length, index, count, code);
        index += count;
        code = (code + uint32_t(count)) << 1;
    }
}

int16_t low16(uint32_t code) { return static_cast<int16_t>(static_cast<uint16_t>(code)); }

constexpr size_t kSymbolsAt = offsetof(HuffmanDecodeSpec, symbols);
constexpr size_t kFastLookupAt = offsetof(HuffmanDecodeSpec, fastLookup);
constexpr size_t kMinCodeAt = offsetof(HuffmanDecodeSpec, minCode);
constexpr size_t kMaxCodeAt = offsetof(HuffmanDecodeSpec, maxCode);
constexpr size_t kValueIndexAt = offsetof(HuffmanDecodeSpec, valueIndex);
constexpr int kCodeLengthSlots = 18;  // lengths 0..17; 17 is the search sentinel

}  // namespace

ZeqStatus buildEncodeSpec(const uint8_t* bits, const uint8_t* values, HuffmanEncodeSpec* spec) {
    std::memset(static_cast<void*>(spec), 0, kEncodeSpecBytes);
    if (!countsFitAlphabet(bits)) return StatusHuffmanTable;
    // All codes are checked before any entry is written.
    bool fits = true;
    forEachLength(bits, [&](int length, int, int count, uint32_t code) {
        if (count > 0 && code + uint32_t(count) >= (uint32_t{1} << length)) fits = false;
    });
    if (!fits) return StatusHuffmanTable;
    forEachLength(bits, [&](int length, int first, int count, uint32_t code) {
        for (int k = 0; k < count; ++k)
            storeField<uint32_t>(spec, offsetof(HuffmanEncodeSpec, codes),
                                 (uint32_t(length) << 16) | (code + uint32_t(k)),
                                 values[first + k]);
    });
    return StatusOk;
}

ZeqStatus buildDecodeSpec(const uint8_t* bits, const uint8_t* values, HuffmanDecodeSpec* spec) {
    std::memset(static_cast<void*>(spec), 0, kDecodeSpecBytes);
    if (!countsFitAlphabet(bits)) return StatusHuffmanTable;
    bool ok = true;
    forEachLength(bits, [&](int length, int first, int count, uint32_t code) {
        if (!ok) return;
        if (count == 0) {
            storeField<int16_t>(spec, kMaxCodeAt, -1, size_t(length));
            return;
        }
        storeField<int16_t>(spec, kValueIndexAt, static_cast<int16_t>(first), size_t(length));
        storeField<int16_t>(spec, kMinCodeAt, low16(code), size_t(length));
        for (int k = 0; k < count; ++k) {
            if (first + k > kHuffmanSymbols) {
                ok = false;
                return;
            }
            storeField<uint16_t>(spec, kSymbolsAt, values[first + k], size_t(first + k));
        }
        storeField<int16_t>(spec, kMaxCodeAt, low16(code + uint32_t(count) - 1), size_t(length));
    });
    if (!ok) return StatusHuffmanTable;
    storeField<int16_t>(spec, kMaxCodeAt, -1, kCodeLengthSlots - 1);

    // The fast-lookup bound is one looser than the table: an over-subscribed
    // table may write index 256, which as a byte copy lands on minCode[0..1].
    forEachLength(bits, [&](int length, int first, int count, uint32_t code) {
        if (!ok || length > kFastLookupBits) return;
        const uint32_t span = uint32_t{1} << (kFastLookupBits - length);
        for (int k = 0; k < count && ok; ++k) {
            const uint32_t entry = (uint32_t(length) << 16) | values[first + k];
            const uint32_t start = (code + uint32_t(k)) * span;
            for (uint32_t i = start; i < start + span; ++i) {
                if (i > uint32_t(kHuffmanSymbols)) {
                    ok = false;
                    break;
                }
                storeField<uint32_t>(spec, kFastLookupAt, entry, i);
            }
        }
    });
    return ok ? StatusOk : StatusHuffmanTable;
}

ZeqStatus deriveOptimalTable(const int32_t* statistics, uint8_t* bits, uint8_t* values) {
    constexpr int kEntries = kStatisticsEntries;
    constexpr int kReserved = kEntries - 1;  // keeps the all-ones code free
    constexpr int kLongestUnlimited = 32;
    int32_t freq[kEntries];
    int codeSize[kEntries] = {};
    int next[kEntries];
    int histogram[kLongestUnlimited + 1] = {};
    for (int i = 0; i < kReserved; ++i) freq[i] = statistics[i];
    freq[kReserved] = 1;
    for (int& n : next) n = -1;

    // Smallest count in 1..kLargestMergedCount other than `except`; on equal
    // counts the larger index wins.
    auto smallest = [&](int except) {
        int best = -1;
        int32_t bound = kLargestMergedCount;
        for (int i = 0; i < kEntries; ++i) {
            if (freq[i] > 0 && freq[i] <= bound && i != except) {
                bound = freq[i];
                best = i;
            }
        }
        return best;
    };
    for (;;) {
        int c1 = smallest(-1);
        int c2 = smallest(c1);
        if (c1 < 0 || c2 < 0) break;
        freq[c1] += freq[c2];
        freq[c2] = 0;
        ++codeSize[c1];
        while (next[c1] >= 0) {
            c1 = next[c1];
            ++codeSize[c1];
        }
        next[c1] = c2;
        ++codeSize[c2];
        while (next[c2] >= 0) {
            c2 = next[c2];
            ++codeSize[c2];
        }
    }

    for (int i = 0; i < kEntries; ++i) {
        if (codeSize[i] == 0) continue;
        if (codeSize[i] > kLongestUnlimited) return StatusHuffmanTable;
        ++histogram[codeSize[i]];
    }
    // Move codes longer than 16 bits up the tree: two leaves of length i
    // become one of length i-1, and a leaf of length j splits into two.
    for (int i = kLongestUnlimited; i > kMaxCodeLength; --i) {
        while (histogram[i] > 0) {
            int j = i - 2;
            while (j > 0 && histogram[j] == 0) --j;
            if (j == 0) return StatusHuffmanTable;  // not a tree: cannot happen
            histogram[i] -= 2;
            histogram[i - 1] += 1;
            histogram[j + 1] += 2;
            histogram[j] -= 1;
        }
    }
    int longest = kMaxCodeLength;
    while (longest > 0 && histogram[longest] == 0) --longest;
    if (longest == 0) return StatusHuffmanTable;  // no symbol took part
    --histogram[longest];

    for (int i = 0; i < kMaxCodeLength; ++i) bits[i] = static_cast<uint8_t>(histogram[i + 1]);
    int out = 0;
    for (int size = 1; size <= kLongestUnlimited; ++size)
        for (int symbol = 0; symbol < kReserved; ++symbol)
            if (codeSize[symbol] == size) values[out++] = static_cast<uint8_t>(symbol);
    return StatusOk;
}

}  // namespace zeq
