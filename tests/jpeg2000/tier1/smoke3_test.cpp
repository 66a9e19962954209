#include "tests/jpeg2000/tier1/t1_test_support.h"
using namespace zeq::test;
using namespace zeq::test::t1;
TEST(Smoke3, One) {
  Block b{1,1,{1}};
  EncoderHandle enc({64, 64});
  Encoded e = encode(enc.state, b, 0, 0, 0);
  printf("sf %d passes %d segs %d bytes:", e.sfBits, e.passes, e.segments);
  for (auto x : e.bytes) printf(" %02x", x);
  printf("\n");
  Decoded d = decodeOneShot(b, e.bytes, e.segmentLengths, 0, e.sfBits, e.passes, 0);
  printf("status %d plane %d value %x seglen %d\n", d.status, d.bitPlane, d.words[0], e.segmentLengths[0]);
  d = decodeProgressive(b, e.bytes, e.segmentLengths, 0, e.sfBits, e.passes, 0);
  printf("status %d plane %d value %x\n", d.status, d.bitPlane, d.words[0]);
}
