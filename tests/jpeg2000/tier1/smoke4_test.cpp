#include "tests/jpeg2000/tier1/t1_test_support.h"
using namespace zeq::test;
using namespace zeq::test::t1;
TEST(Smoke4, Truncation) {
  int fails = 0;
  for (int flags : {0, 1, 2, 4, 8, 16, 31, 6}) for (int term : {0, 1, 2}) for (int seed = 0; seed < 40; ++seed) {
    auto& rng = seededRng(seed * 131 + flags * 7 + term);
    int w = uniform<int>(rng, 1, 64), h = uniform<int>(rng, 1, 64);
    Block b = randomBlock(rng, w, h, uniform<int>(rng, 0, 30));
    EncoderHandle enc({64, 64});
    Encoded e = encode(enc.state, b, seed % 4, flags, term);
    auto ends = segmentEndPasses(e.passes, e.sfBits, flags);
    for (int k = 1; k <= e.passes; ++k) {
      if (k > 1 && e.rates[k-1] < e.rates[k-2]) ADD_FAILURE() << "rate decreases";
      if (e.rates[k-1] > 0 && e.bytes[e.rates[k-1]-1] == 0xFF) ADD_FAILURE() << "rate ends on FF";
      // segments
      std::vector<int32_t> segs; int32_t start = 0; 
      for (size_t s = 0; s < ends.size(); ++s) {
        if (ends[s] >= k) { segs.push_back((int32_t)e.rates[k-1] - start); break; }
        segs.push_back(e.segmentLengths[s]); start += e.segmentLengths[s];
      }
      std::vector<uint8_t> trunc(e.bytes.begin(), e.bytes.begin() + e.rates[k-1]);
      Decoded full = decodeOneShot(b, e.bytes, e.segmentLengths, seed % 4, e.sfBits, k, flags);
      Decoded part = decodeOneShot(b, trunc, segs, seed % 4, e.sfBits, k, flags);
      if (full.words != part.words || part.status) { if (++fails < 10) ADD_FAILURE() << "flags " << flags << " term " << term << " seed " << seed << " k " << k << " of " << e.passes << " rate " << e.rates[k-1] << " total " << e.bytes.size(); }
      if ((k - 1) % 3 == 0) {
        int plane = e.sfBits - 1 - (k - 1) / 3;
        if (full.words != reconstructedAtPlane(b, plane)) { if (++fails < 10) ADD_FAILURE() << "recon flags " << flags << " seed " << seed << " k " << k; }
      }
    }
  }
}
