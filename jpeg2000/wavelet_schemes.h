// The lifting schemes of the 5/3 and 9/7 wavelets: constants, the step types
// of every family member, and the step lists the drivers of lifting.h run.
#ifndef ZEQ_JPEG2000_WAVELET_SCHEMES_H
#define ZEQ_JPEG2000_WAVELET_SCHEMES_H

#include <cstdint>

#include "jpeg2000/lifting.h"
#include "jpeg2000/wavelet_steps.h"

namespace zeq::wt {

// ---- 9/7 constants: single precision, 16.16 and 2.14 forms --------------
struct Alpha {
    static constexpr float value = -1.5861343f;
    static constexpr int32_t q16 = -103949;
    static constexpr int32_t q14 = -25987;
};
struct Beta {
    static constexpr float value = -0.052980117f;
    static constexpr int32_t q16 = -3472;
    static constexpr int32_t q14 = -868;
};
struct Gamma {
    static constexpr float value = 0.8829111f;
    static constexpr int32_t q16 = 57862;
    static constexpr int32_t q14 = 14466;
};
struct Delta {
    static constexpr float value = 0.44350687f;
    static constexpr int32_t q16 = 29066;
    static constexpr int32_t q14 = 7266;
};
struct GainK {
    static constexpr float value = 1.2301741f;
    static constexpr int32_t q16 = 80621;
    static constexpr int32_t q14 = 20155;
};
struct InvGainK {
    static constexpr float value = 0.8128931f;
    static constexpr int32_t q16 = 53274;
    static constexpr int32_t q14 = 13318;
};
struct DeltaOverK {
    static constexpr float value = 0.36052364f;
    static constexpr int32_t q16 = 23627;
};

// ---- 5/3: 16s and 32s, one scheme per storage -----------------------------
template <class St>
struct Scheme53 {
    using Store = St;
    using T = typename St::T;
    using Forward = Steps<Step<Predict53<St>, High>, Step<Update53<St>, Low>>;
    using Inverse = Steps<Step<Unupdate53<St>, Low>, Step<Unpredict53<St>, High>>;
};

// ---- 9/7 in 16.16 fixed point (rows and column lifts) ---------------------
// The fused low step undoes nothing at the line ends: where a high neighbour
// lies outside the line the delta step and the 1/K scaling are rounded
// separately (FwdEnds / InvEnds).
template <class St, class C>
using Fix16Lift = FixStep<St, 16, 1, 0, C::q16>;
template <class St, class C>
using Fix16Unlift = FixStep<St, 16, -1, 0, C::q16>;
template <class St, class C>
using Fix16Scale = FixStep<St, 16, 0, C::q16, 0>;

template <class St>
using Fix16FusedLow = FixStep<St, 16, 0, InvGainK::q16, DeltaOverK::q16>;  // s/K + (delta/K)(a+b)
template <class St>
using Fix16FusedUnlow = FixStep<St, 16, 0, GainK::q16, -DeltaOverK::q16>;  // low K - (delta/K)(a+b)
template <class St>
using Fix16FusedUnhigh = FixStep<St, 16, 0, InvGainK::q16, -Gamma::q16>;  // high/K - gamma(a+b)

template <class St>
struct Fix16LowEnds {
    using T = typename St::T;
    static T endOne(T s, T a, T b) {
        return Fix16Scale<St, InvGainK>::one(Fix16Lift<St, Delta>::one(s, a, b), 0, 0);
    }
};
template <class St>
struct Fix16UnlowEnds {
    using T = typename St::T;
    static T endOne(T low, T a, T b) {
        using UnscaleHigh = Fix16Scale<St, InvGainK>;
        return Fix16Unlift<St, Delta>::one(Fix16Scale<St, GainK>::one(low, 0, 0),
                                           UnscaleHigh::one(a, 0, 0), UnscaleHigh::one(b, 0, 0));
    }
};

template <class St>
struct Scheme97Fix16 {
    using Store = St;
    using T = typename St::T;
    using Forward = Steps<Step<Fix16Lift<St, Alpha>, High>, Step<Fix16Lift<St, Beta>, Low>,
                          Step<Fix16Lift<St, Gamma>, High>,
                          Step<Fix16FusedLow<St>, Low, SeparateEnds<Fix16LowEnds<St>>>,
                          Step<Fix16Scale<St, GainK>, High, Scaling>>;
    using Inverse = Steps<Step<Fix16FusedUnlow<St>, Low, SeparateEnds<Fix16UnlowEnds<St>>>,
                          Step<Fix16FusedUnhigh<St>, High>, Step<Fix16Unlift<St, Beta>, Low>,
                          Step<Fix16Unlift<St, Alpha>, High>>;
};

// ---- 9/7 in single precision (32f members; 32s whole level) ---------------
struct FloatScheme97 {
    using Store = FloatStore;
    using T = float;
    using Forward =
        Steps<Step<FloatLift<1, Alpha>, High>, Step<FloatLift<1, Beta>, Low>,
              Step<FloatLift<1, Gamma>, High>, Step<FloatLift<1, Delta>, Low>,
              Step<FloatScale<InvGainK>, Low, Scaling>, Step<FloatScale<GainK>, High, Scaling>>;
    using Inverse = Steps<Step<FloatScaleLift<GainK, DeltaOverK>, Low>,
                          Step<FloatScaleLift<InvGainK, Gamma>, High>,
                          Step<FloatLift<-1, Beta>, Low>, Step<FloatLift<-1, Alpha>, High>>;
};

// ---- 9/7 in 2.14 fixed point with 16-bit wrapping (16s whole level) ------
template <class C>
using Fix14Lift = FixStep<Wrap16, 14, 1, 0, C::q14>;
template <class C>
using Fix14Unlift = FixStep<Wrap16, 14, -1, 0, C::q14>;
template <class C>
using Fix14Scale = FixStep<Wrap16, 14, 0, C::q14, 0>;

struct Scheme97Fix14 {
    using Store = Wrap16;
    using T = int16_t;
    using Forward =
        Steps<Step<Fix14Lift<Alpha>, High>, Step<Fix14Lift<Beta>, Low>,
              Step<Fix14Lift<Gamma>, High>, Step<Fix14Lift<Delta>, Low>,
              Step<Fix14Scale<InvGainK>, Low, Scaling>, Step<Fix14Scale<GainK>, High, Scaling>>;
    using Inverse =
        Steps<Step<Fix14Scale<GainK>, Low, Scaling>, Step<Fix14Scale<InvGainK>, High, Scaling>,
              Step<Fix14Unlift<Delta>, Low>, Step<Fix14Unlift<Gamma>, High>,
              Step<Fix14Unlift<Beta>, Low>, Step<Fix14Unlift<Alpha>, High>>;
};

// Every step type with a vector kernel; both runners are instantiated for
// each (wavelet_steps.cpp, wavelet_steps_sse2.cpp).
#define ZEQ_WT_FIX16_STEPS(X, St)                                                  \
    X(Fix16Lift<St, Alpha>)                                                        \
    X(Fix16Lift<St, Beta>)                                                         \
    X(Fix16Lift<St, Gamma>)                                                        \
    X(Fix16Lift<St, Delta>)                                                        \
    X(Fix16Unlift<St, Alpha>)                                                      \
    X(Fix16Unlift<St, Beta>)                                                       \
    X(Fix16Unlift<St, Gamma>)                                                      \
    X(Fix16Unlift<St, Delta>) X(Fix16Scale<St, GainK>) X(Fix16Scale<St, InvGainK>) \
        X(Fix16FusedLow<St>) X(Fix16FusedUnlow<St>) X(Fix16FusedUnhigh<St>)

#define ZEQ_WT_FOR_EACH_STEP(X)                                                             \
    X(Predict53<Wrap16>)                                                                    \
    X(Update53<Wrap16>)                                                                     \
    X(Unpredict53<Wrap16>)                                                                  \
    X(Unupdate53<Wrap16>)                                                                   \
    X(Predict53<Wrap32>)                                                                    \
    X(Update53<Wrap32>)                                                                     \
    X(Unpredict53<Wrap32>)                                                                  \
    X(Unupdate53<Wrap32>) ZEQ_WT_FIX16_STEPS(X, Sat16) ZEQ_WT_FIX16_STEPS(X, Wrap32)        \
        X(Fix14Lift<Alpha>) X(Fix14Lift<Beta>) X(Fix14Lift<Gamma>) X(Fix14Lift<Delta>)      \
            X(Fix14Scale<InvGainK>) X(Fix14Scale<GainK>) X(Fix14Unlift<Alpha>)              \
                X(Fix14Unlift<Beta>) X(Fix14Unlift<Gamma>) X(Fix14Unlift<Delta>)            \
                    X(FloatLift<1, Alpha>) X(FloatLift<1, Beta>) X(FloatLift<1, Gamma>)     \
                        X(FloatLift<1, Delta>) X(FloatScale<InvGainK>) X(FloatScale<GainK>) \
                            X(FloatScaleLift<GainK, DeltaOverK>)                            \
                                X(FloatScaleLift<InvGainK, Gamma>) X(FloatLift<-1, Beta>)   \
                                    X(FloatLift<-1, Alpha>)

}  // namespace zeq::wt

#endif  // ZEQ_JPEG2000_WAVELET_SCHEMES_H
