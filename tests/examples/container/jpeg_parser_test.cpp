#include "container/jpeg_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/test_support.h"

namespace zeq::container {
namespace {

using Bytes = std::vector<uint8_t>;

void segment(Bytes& out, uint8_t marker, const Bytes& payload) {
    out.push_back(0xFF);
    out.push_back(marker);
    out.push_back(static_cast<uint8_t>((payload.size() + 2) >> 8));
    out.push_back(static_cast<uint8_t>(payload.size() + 2));
    out.insert(out.end(), payload.begin(), payload.end());
}

// SOI, APP0 "JFIF", COM, DQT (8-bit id 0, 16-bit id 1), SOF, DHT (DC 0 with
// two codes, AC 1 with one), DRI 7, SOS (components 2 and 1), data with a
// stuffed 0xFF, an RST0 and fill bytes, SOS for component 3 after a DHT
// redefining DC 0, data, EOI.
Bytes sampleFile(uint8_t sof = MarkerSOF2) {
    Bytes f = {0xFF, 0xD8};
    segment(f, 0xE0, {'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0});
    segment(f, 0xFE, {'h', 'i'});
    Bytes dqt = {0x00};
    for (int i = 0; i < 64; ++i) dqt.push_back(static_cast<uint8_t>(i + 1));
    dqt.push_back(0x11);
    for (int i = 0; i < 64; ++i) {
        dqt.push_back(static_cast<uint8_t>(i));
        dqt.push_back(0x80);
    }
    segment(f, MarkerDQT, dqt);
    segment(f, sof, {8, 0x01, 0x02, 0x03, 0x04, 3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1});
    Bytes dht = {0x00, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6};
    dht.insert(dht.end(), {0x11, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x00});
    segment(f, MarkerDHT, dht);
    segment(f, MarkerDRI, {0, 7});
    segment(f, MarkerSOS, {2, 2, 0x01, 1, 0x10, 0, 63, 0x21});
    f.insert(f.end(), {0x12, 0xFF, 0x00, 0x34, 0xFF, 0xD0, 0x56, 0xFF, 0xFF});
    segment(f, MarkerDHT, {0x00, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9});
    segment(f, MarkerSOS, {1, 3, 0x00, 1, 5, 0x00});
    f.insert(f.end(), {0xAB, 0xCD});
    f.insert(f.end(), {0xFF, 0xD9});
    return f;
}

TEST(JpegParser, ReadsFrameTablesAndScansWithTheirDataBounds) {
    const Bytes f = sampleFile();
    JpegParsedFile p;
    std::string error;
    ASSERT_TRUE(parseJpegFile(f.data(), f.size(), p, &error)) << error;
    EXPECT_TRUE(p.jfif);
    EXPECT_TRUE(p.sawEndOfImage);
    EXPECT_EQ(p.frame.sofMarker, MarkerSOF2);
    EXPECT_EQ(p.frame.height, 0x0102);
    EXPECT_EQ(p.frame.width, 0x0304);
    ASSERT_EQ(p.frame.components.size(), 3u);
    EXPECT_EQ(p.frame.components[0].h, 2);
    EXPECT_EQ(p.frame.components[2].quantTable, 1);
    ASSERT_EQ(p.scans.size(), 2u);
    const JpegParsedScan& a = p.scans[0];
    ASSERT_EQ(a.header.components.size(), 2u);
    EXPECT_EQ(a.header.components[0].componentIndex, 1);  // id 2
    EXPECT_EQ(a.header.components[1].acTable, 0);
    EXPECT_EQ(a.header.components[1].dcTable, 1);
    EXPECT_EQ(a.header.se, 63);
    EXPECT_EQ(a.header.ah, 2);
    EXPECT_EQ(a.header.al, 1);
    EXPECT_EQ(a.tables.restartInterval, 7);
    EXPECT_TRUE(a.tables.quantDefined[0] && a.tables.quantDefined[1]);
    EXPECT_EQ(a.tables.quant[0].zigzag[63], 64);
    EXPECT_EQ(a.tables.quant[1].zigzag[5], 0x0580);
    EXPECT_TRUE(a.tables.dcDefined[0] && a.tables.acDefined[1] && !a.tables.dcDefined[1]);
    EXPECT_EQ(a.tables.dc[0].symbols, (std::vector<uint8_t>{5, 6}));
    // The data run through stuffing, RST0 and fill bytes up to the DHT.
    EXPECT_EQ(f[a.dataOffset], 0x12);
    EXPECT_EQ(a.dataSize, 7u);
    const JpegParsedScan& b = p.scans[1];
    EXPECT_EQ(b.tables.dc[0].symbols, (std::vector<uint8_t>{9}));
    EXPECT_EQ(f[b.dataOffset], 0xAB);
    EXPECT_EQ(b.dataSize, 2u);
}

struct Refusal {
    const char* name;
    size_t at;  // byte of the file to change
    uint8_t value;
};

TEST(JpegParser, RefusesBrokenSegmentsWithAReason) {
    const Bytes good = sampleFile();
    auto find = [&](uint8_t marker) {
        for (size_t i = 0; i + 1 < good.size(); ++i)
            if (good[i] == 0xFF && good[i + 1] == marker) return i;
        return size_t(0);
    };
    const size_t sof = find(MarkerSOF2), dqt = find(MarkerDQT), dht = find(MarkerDHT),
                 sos = find(MarkerSOS), dri = find(MarkerDRI);
    const Refusal cases[] = {
        {"no SOI", 1, 0xD9},
        {"arithmetic frame", sof + 1, 0xC9},
        {"precision 1", sof + 4, 1},
        {"no components", sof + 9, 0},
        {"five components", sof + 9, 5},
        {"sampling factor 0", sof + 11, 0x02},
        {"quantization id 4", sof + 12, 4},
        {"repeated component id", sof + 13, 1},
        {"DQT precision 2", dqt + 4, 0x20},
        {"DHT class 2", dht + 4, 0x20},
        {"DHT counts beyond its length", dht + 6, 200},
        {"DRI of wrong length", dri + 3, 5},
        {"scan of an unknown component", sos + 5, 9},
        {"scan table id 4", sos + 6, 0x40},
        {"scan count beyond its length", sos + 4, 4},
        {"segment longer than the file", dqt + 2, 0xFF},
        {"segment length below 2", dqt + 3, 1},
    };
    for (const Refusal& c : cases) {
        Bytes f = good;
        if (c.name == std::string("segment length below 2")) f[dqt + 2] = 0;
        f[c.at] = c.value;
        JpegParsedFile p;
        std::string error;
        EXPECT_FALSE(parseJpegFile(f.data(), f.size(), p, &error)) << c.name;
        EXPECT_FALSE(error.empty()) << c.name;
    }
}

TEST(JpegParser, EveryPrefixAndRandomDamageIsParsedOrRefusedWithinTheBuffer) {
    const Bytes good = sampleFile();
    for (size_t n = 0; n <= good.size(); ++n) {
        const Bytes head(good.begin(), good.begin() + long(n));
        JpegParsedFile p;
        std::string error;
        if (parseJpegFile(head.data(), head.size(), p, &error)) {
            for (const JpegParsedScan& s : p.scans) EXPECT_LE(s.dataOffset + s.dataSize, n);
        } else {
            EXPECT_FALSE(error.empty());
        }
    }
    std::mt19937& rng = test::seededRng(5);
    for (int i = 0; i < test::scaledCount(3000); ++i) {
        Bytes f = good;
        for (int k = test::uniform<int>(rng, 1, 6); k > 0; --k)
            f[test::uniform<size_t>(rng, 0, int64_t(f.size()) - 1)] =
                test::uniform<uint8_t>(rng, 0, 255);
        JpegParsedFile p;
        std::string error;
        if (parseJpegFile(f.data(), f.size(), p, &error)) {
            for (const JpegParsedScan& s : p.scans) EXPECT_LE(s.dataOffset + s.dataSize, f.size());
        }
    }
}

}  // namespace
}  // namespace zeq::container
