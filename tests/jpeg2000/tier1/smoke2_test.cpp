#include "tests/jpeg2000/tier1/t1_test_support.h"
using namespace zeq::test;
using namespace zeq::test::t1;
TEST(Smoke2, Small) {
  for (int seed = 0; seed < 2000; ++seed) {
    auto& rng = seededRng(seed);
    int w = uniform<int>(rng, 1, 5), h = uniform<int>(rng, 1, 5);
    Block b = randomBlock(rng, w, h, uniform<int>(rng, 0, 3));
    EncoderHandle enc({64, 64});
    Encoded e = encode(enc.state, b, 0, 0, 0);
    Decoded d = decodeOneShot(b, e.bytes, e.segmentLengths, 0, e.sfBits, e.passes, 0);
    auto expect = reconstructedAtPlane(b, 0);
    if (d.words != expect) {
      printf("w %d h %d passes %d bytes %zu\n", w, h, e.passes, e.bytes.size());
      for (size_t i = 0; i < b.words.size(); ++i) printf("%x/%x ", b.words[i], d.words[i]);
      printf("\n");
      FAIL();
    }
  }
}
