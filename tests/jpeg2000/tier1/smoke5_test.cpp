#include "tests/jpeg2000/tier1/t1_test_support.h"
using namespace zeq::test;
using namespace zeq::test::t1;
TEST(Smoke5, Pterm) {
  int ok0 = 0, bad0 = 0;
  for (int flags : {0, 4, 6, 2, 31}) for (int term : {2, 0, 1}) for (int seed = 0; seed < 30; ++seed) {
    auto& rng = seededRng(seed * 131 + flags * 7 + term);
    int w = uniform<int>(rng, 1, 64), h = uniform<int>(rng, 1, 64);
    Block b = randomBlock(rng, w, h, uniform<int>(rng, 0, 30));
    EncoderHandle enc({64, 64});
    Encoded e = encode(enc.state, b, seed % 4, flags, term);
    Decoded d = decodeOneShot(b, e.bytes, e.segmentLengths, seed % 4, e.sfBits, e.passes, flags | 0x100000);
    if (term == 2) { EXPECT_EQ(d.status, 0); EXPECT_EQ(d.words, reconstructedAtPlane(b, 0)); }
    else if (e.passes) (d.status ? bad0 : ok0)++;
  }
  printf("non-pterm streams: pass %d fail %d\n", ok0, bad0);
}
