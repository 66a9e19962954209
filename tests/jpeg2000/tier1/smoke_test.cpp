#include "tests/jpeg2000/tier1/t1_test_support.h"
using namespace zeq::test;
using namespace zeq::test::t1;
TEST(Smoke, RoundTrip) {
  int fails = 0;
  for (int flags : {0, 1, 2, 4, 8, 16, 31}) for (int term : {0, 1, 2}) for (int seed = 0; seed < 50; ++seed) {
    auto& rng = seededRng(seed * 131 + flags * 7 + term);
    int w = uniform<int>(rng, 1, 64), h = uniform<int>(rng, 1, 64);
    Block b = randomBlock(rng, w, h, uniform<int>(rng, 0, 30));
    EncoderHandle enc({64, 64});
    Encoded e = encode(enc.state, b, seed % 4, flags, term);
    auto ends = segmentEndPasses(e.passes, e.sfBits, flags);
    ASSERT_EQ((int)ends.size() , e.passes ? e.segments : 0) << flags;
    std::vector<int32_t> segs = e.segmentLengths;
    if (e.passes == 0) segs.clear();
    Decoded d = decodeOneShot(b, e.bytes, segs, seed % 4, e.sfBits, e.passes, flags);
    auto expect = reconstructedAtPlane(b, 0);
    if (d.status != 0 || d.words != expect) { if (++fails < 10) ADD_FAILURE() << "flags " << flags << " term " << term << " seed " << seed << " status " << d.status << " w " << w << " h " << h; }
  }
}
