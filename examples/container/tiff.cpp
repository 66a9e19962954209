#include "container/tiff.h"

#include <algorithm>
#include <limits>

#include "container/byte_order.h"

namespace zeq::container {
namespace {

constexpr uint16_t kMagic = 42, kBigTiffMagic = 43;
constexpr size_t kHeaderBytes = 8, kEntryBytes = 12;

enum Tag : uint16_t {
    TagImageWidth = 256,
    TagImageLength = 257,
    TagBitsPerSample = 258,
    TagCompression = 259,
    TagPhotometric = 262,
    TagFillOrder = 266,
    TagStripOffsets = 273,
    TagSamplesPerPixel = 277,
    TagRowsPerStrip = 278,
    TagStripByteCounts = 279,
    TagXResolution = 282,
    TagYResolution = 283,
    TagPlanarConfig = 284,
    TagResolutionUnit = 296,
    TagPredictor = 317,
    TagTileWidth = 322,
    TagSampleFormat = 339,
};

enum FieldType : uint16_t { TypeByte = 1, TypeShort = 3, TypeLong = 4, TypeRational = 5 };

constexpr uint16_t kPhotometricWhiteIsZero = 0, kPhotometricBlackIsZero = 1, kPhotometricRgb = 2;
constexpr uint16_t kPlanarChunky = 1, kPlanarSeparate = 2;
constexpr uint16_t kResolutionUnitInch = 2;
constexpr uint32_t kResolutionDpi = 72;
constexpr uint32_t kPackBitsMaxRun = 128;

// Images up to 2^31 pixels; each strip's decoded bytes must fit in int32_t.
constexpr uint64_t kMaxPixels = uint64_t{1} << 31;
constexpr uint64_t kMaxStripBytes = std::numeric_limits<int32_t>::max();

bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

// One directory entry whose values were found inside the file.
struct Field {
    bool present = false;
    uint16_t type = 0;
    uint32_t count = 0;
    size_t valuesAt = 0;  // file offset of the first value
};

class Reader {
public:
    Reader(const uint8_t* data, size_t size, bool bigEndian)
        : data_(data), size_(size), big_(bigEndian) {}

    // Callers check at + 2 (or 4) <= size first.
    uint16_t u16(size_t at) const { return big_ ? loadBe16(data_ + at) : loadLe16(data_ + at); }
    uint32_t u32(size_t at) const { return big_ ? loadBe32(data_ + at) : loadLe32(data_ + at); }
    size_t size() const { return size_; }

    // Locates the values of the entry at `at`; false when they leave the file
    // or the type is unknown.
    bool field(size_t at, Field& f) const {
        static constexpr uint8_t kTypeBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
        f.type = u16(at + 2);
        f.count = u32(at + 4);
        if (f.type == 0 || f.type >= std::size(kTypeBytes)) return false;
        const uint64_t bytes = uint64_t{f.count} * kTypeBytes[f.type];
        f.valuesAt = bytes <= 4 ? at + 8 : u32(at + 8);
        f.present = true;
        return f.valuesAt + bytes <= size_;
    }

    // Value i of an integer field (BYTE, SHORT or LONG); false for other types.
    bool integer(const Field& f, uint32_t i, uint32_t& value) const {
        if (i >= f.count) return false;
        switch (f.type) {
            case TypeByte:
                value = data_[f.valuesAt + i];
                return true;
            case TypeShort:
                value = u16(f.valuesAt + 2 * size_t{i});
                return true;
            case TypeLong:
                value = u32(f.valuesAt + 4 * size_t{i});
                return true;
            default:
                return false;
        }
    }

private:
    const uint8_t* data_;
    size_t size_;
    bool big_;
};

// Sum over rows of the shortest PackBits coding of a row: one repeat packet
// of two bytes per 128 row bytes.
uint64_t smallestPackedBytes(uint64_t rowBytes, uint64_t rows) {
    return rows * 2 * ((rowBytes + kPackBitsMaxRun - 1) / kPackBitsMaxRun);
}

class IfdWriter {
public:
    explicit IfdWriter(std::vector<uint8_t>& out) : out_(out) {}

    void add(uint16_t tag, uint16_t type, uint32_t count, uint32_t valueOrOffset) {
        entries_.push_back({tag, type, count, valueOrOffset});
    }

    // Writes the directory at the end of out and points the header at it.
    void finish() {
        alignOut();
        storeLe32(out_.data() + 4, static_cast<uint32_t>(out_.size()));
        std::sort(entries_.begin(), entries_.end(),
                  [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
        appendLe16(out_, static_cast<uint16_t>(entries_.size()));
        for (const Entry& e : entries_) {
            appendLe16(out_, e.tag);
            appendLe16(out_, e.type);
            appendLe32(out_, e.count);
            if (e.type == TypeShort && e.count == 1) {
                appendLe16(out_, static_cast<uint16_t>(e.value));
                appendLe16(out_, 0);
            } else {
                appendLe32(out_, e.value);
            }
        }
        appendLe32(out_, 0);  // no further image
    }

    // Appends 32-bit values out of line (word-aligned) and returns where.
    uint32_t array32(const std::vector<uint32_t>& values) {
        alignOut();
        const auto at = static_cast<uint32_t>(out_.size());
        for (uint32_t v : values) appendLe32(out_, v);
        return at;
    }

private:
    struct Entry {
        uint16_t tag, type;
        uint32_t count, value;
    };
    void alignOut() {
        while (out_.size() % 4) out_.push_back(0);
    }
    std::vector<uint8_t>& out_;
    std::vector<Entry> entries_;
};

}  // namespace

int32_t tiffStripCount(const TiffImageShape& shape) {
    return (shape.height - 1) / shape.rowsPerStrip + 1;
}

int32_t tiffRowsInStrip(const TiffImageShape& shape, int32_t strip) {
    return std::min(shape.rowsPerStrip, shape.height - strip * shape.rowsPerStrip);
}

std::vector<uint8_t> formatPackBitsTiff(const TiffImageShape& shape,
                                        const std::vector<std::vector<uint8_t>>& strips) {
    std::vector<uint8_t> out = {'I', 'I', kMagic, 0, 0, 0, 0, 0};
    std::vector<uint32_t> offsets, counts;
    for (const auto& strip : strips) {
        offsets.push_back(static_cast<uint32_t>(out.size()));
        counts.push_back(static_cast<uint32_t>(strip.size()));
        out.insert(out.end(), strip.begin(), strip.end());
    }
    IfdWriter ifd(out);
    const auto stripCount = static_cast<uint32_t>(strips.size());
    const auto samples = static_cast<uint32_t>(shape.samplesPerPixel);
    ifd.add(TagImageWidth, TypeLong, 1, static_cast<uint32_t>(shape.width));
    ifd.add(TagImageLength, TypeLong, 1, static_cast<uint32_t>(shape.height));
    // Three SHORT values of 8 do not fit in the entry; one does.
    ifd.add(TagBitsPerSample, TypeShort, samples, samples == 1 ? 8 : ifd.array32({8 | 8 << 16, 8}));
    ifd.add(TagCompression, TypeShort, 1, kTiffCompressionPackBits);
    ifd.add(TagPhotometric, TypeShort, 1, samples == 3 ? kPhotometricRgb : kPhotometricBlackIsZero);
    ifd.add(TagStripOffsets, TypeLong, stripCount,
            stripCount == 1 ? offsets[0] : ifd.array32(offsets));
    ifd.add(TagSamplesPerPixel, TypeShort, 1, samples);
    ifd.add(TagRowsPerStrip, TypeLong, 1, static_cast<uint32_t>(shape.rowsPerStrip));
    ifd.add(TagStripByteCounts, TypeLong, stripCount,
            stripCount == 1 ? counts[0] : ifd.array32(counts));
    const uint32_t resolution = ifd.array32({kResolutionDpi, 1});
    ifd.add(TagXResolution, TypeRational, 1, resolution);
    ifd.add(TagYResolution, TypeRational, 1, resolution);
    ifd.add(TagPlanarConfig, TypeShort, 1, kPlanarChunky);
    ifd.add(TagResolutionUnit, TypeShort, 1, kResolutionUnitInch);
    ifd.finish();
    return out;
}

namespace {

bool parseInto(const uint8_t* data, size_t size, TiffPackBitsFile& file, std::string* error) {
    if (size < kHeaderBytes ||
        !((data[0] == 'I' && data[1] == 'I') || (data[0] == 'M' && data[1] == 'M')))
        return fail(error, "not a TIFF file (no II/MM byte-order mark)");
    const Reader r(data, size, data[0] == 'M');
    if (r.u16(2) == kBigTiffMagic) return fail(error, "BigTIFF files are not supported");
    if (r.u16(2) != kMagic) return fail(error, "not a TIFF file (version is not 42)");
    const uint32_t ifdAt = r.u32(4);
    if (ifdAt < kHeaderBytes || uint64_t{ifdAt} + 2 > size)
        return fail(error, "TIFF directory offset lies outside the file");
    const uint16_t entries = r.u16(ifdAt);
    if (ifdAt + 2 + uint64_t{entries} * kEntryBytes > size)
        return fail(error, "truncated TIFF directory");

    Field fields[TagSampleFormat + 1 - TagImageWidth];
    for (uint16_t i = 0; i < entries; ++i) {
        const size_t at = ifdAt + 2 + size_t{i} * kEntryBytes;
        const uint16_t tag = r.u16(at);
        if (tag < TagImageWidth || tag > TagSampleFormat) continue;
        Field& f = fields[tag - TagImageWidth];
        if (!r.field(at, f))
            return fail(error, "TIFF tag " + std::to_string(tag) +
                                   " has an unknown type or values outside the file");
    }
    const auto field = [&](Tag tag) -> const Field& { return fields[tag - TagImageWidth]; };
    // The first value of an integer tag, or fallback when the tag is absent.
    bool ok = true;
    const auto value = [&](Tag tag, uint32_t fallback) {
        const Field& f = field(tag);
        uint32_t v = fallback;
        if (f.present && !r.integer(f, 0, v)) ok = false;
        return v;
    };

    if (field(TagTileWidth).present) return fail(error, "tiled TIFFs are not supported");
    if (!field(TagImageWidth).present || !field(TagImageLength).present)
        return fail(error, "TIFF image width or length is missing");
    const uint32_t width = value(TagImageWidth, 0), height = value(TagImageLength, 0);
    const uint32_t samples = value(TagSamplesPerPixel, 1);
    const uint32_t compression = value(TagCompression, 1);
    const uint32_t photometric = value(TagPhotometric, 0xFFFF);
    const uint32_t planar = value(TagPlanarConfig, kPlanarChunky);
    const uint32_t rowsPerStrip = value(TagRowsPerStrip, 0xFFFFFFFFu);
    const uint32_t fillOrder = value(TagFillOrder, 1);
    const uint32_t predictor = value(TagPredictor, 1);
    if (!ok) return fail(error, "a TIFF tag that should hold integers does not");
    if (compression != kTiffCompressionPackBits)
        return fail(error, "TIFF compression " + std::to_string(compression) +
                               " is not supported (only PackBits, 32773)");
    if (samples != 1 && samples != 3)
        return fail(error, "TIFF with " + std::to_string(samples) +
                               " samples per pixel is not supported (1 grey or 3 RGB)");
    for (uint32_t s = 0; s < samples; ++s) {
        uint32_t bits = 1;  // the default depth
        if (field(TagBitsPerSample).present &&
            !r.integer(field(TagBitsPerSample), std::min(s, field(TagBitsPerSample).count - 1),
                       bits))
            return fail(error, "malformed TIFF BitsPerSample");
        if (bits != 8)
            return fail(error, "TIFF with " + std::to_string(bits) +
                                   " bits per sample is not supported (8 only)");
    }
    if (field(TagSampleFormat).present) {
        uint32_t format = 0;
        if (!r.integer(field(TagSampleFormat), 0, format) || format != 1)
            return fail(error, "only unsigned integer TIFF samples are supported");
    }
    const bool grey = samples == 1;
    if (grey ? photometric > kPhotometricBlackIsZero : photometric != kPhotometricRgb)
        return fail(error, "TIFF photometric interpretation " + std::to_string(photometric) +
                               " is not supported with " + std::to_string(samples) +
                               " samples (grey 0/1 or RGB 2)");
    if (planar != kPlanarChunky && !(grey && planar == kPlanarSeparate))
        return fail(error, "planar (separate) RGB TIFFs are not supported");
    if (fillOrder != 1) return fail(error, "TIFF fill order 2 is not supported");
    if (predictor != 1) return fail(error, "TIFF predictors are not supported");
    if (width == 0 || height == 0 || uint64_t{width} * height > kMaxPixels)
        return fail(error, "unsupported TIFF image size " + std::to_string(width) + "x" +
                               std::to_string(height));
    if (rowsPerStrip == 0) return fail(error, "TIFF RowsPerStrip is 0");

    file.shape.width = static_cast<int32_t>(width);
    file.shape.height = static_cast<int32_t>(height);
    file.shape.samplesPerPixel = static_cast<int32_t>(samples);
    file.shape.rowsPerStrip = static_cast<int32_t>(std::min(rowsPerStrip, height));
    file.whiteIsZero = photometric == kPhotometricWhiteIsZero;
    const int32_t strips = tiffStripCount(file.shape);
    const Field& offsets = field(TagStripOffsets);
    const Field& counts = field(TagStripByteCounts);
    if (!offsets.present || !counts.present)
        return fail(error, "TIFF strip offsets or byte counts are missing");
    if (offsets.count != static_cast<uint32_t>(strips) ||
        counts.count != static_cast<uint32_t>(strips))
        return fail(error, "TIFF lists " + std::to_string(offsets.count) + " strip offsets and " +
                               std::to_string(counts.count) + " byte counts for " +
                               std::to_string(strips) + " strips");

    const uint64_t rowBytes = uint64_t{width} * samples;
    uint64_t total = 0;
    for (int32_t s = 0; s < strips; ++s) {
        TiffStripSpan span;
        if (!r.integer(offsets, static_cast<uint32_t>(s), span.offset) ||
            !r.integer(counts, static_cast<uint32_t>(s), span.bytes))
            return fail(error, "TIFF strip offsets and byte counts must be SHORT or LONG");
        const auto rows = static_cast<uint64_t>(tiffRowsInStrip(file.shape, s));
        if (uint64_t{span.offset} + span.bytes > size)
            return fail(error, "TIFF strip " + std::to_string(s) + " lies outside the file");
        if (rows * rowBytes > kMaxStripBytes)
            return fail(error, "TIFF strip " + std::to_string(s) + " is too large to decode");
        if (span.bytes < smallestPackedBytes(rowBytes, rows))
            return fail(error, "TIFF strip " + std::to_string(s) + " is too short (" +
                                   std::to_string(span.bytes) + " bytes) for its " +
                                   std::to_string(rows) + " rows");
        total += span.bytes;
        file.strips.push_back(span);
    }
    if (total > size) return fail(error, "TIFF strips overlap (their byte counts exceed the file)");
    return true;
}

}  // namespace

bool parsePackBitsTiff(const uint8_t* data, size_t size, TiffPackBitsFile& file,
                       std::string* error) {
    file = TiffPackBitsFile{};
    if (parseInto(data, size, file, error)) return true;
    file = TiffPackBitsFile{};
    return false;
}

}  // namespace zeq::container
