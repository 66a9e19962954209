// The check order shared by every texture function: both pointers, then a
// step of 0 (any other step, negative too, is used as given), then the size.
#ifndef ZEQ_TEXTURE_TEXTURE_CHECKS_H
#define ZEQ_TEXTURE_TEXTURE_CHECKS_H

#include "core/arg_checks.h"

namespace zeq {

inline ZeqStatus checkTextureArguments(const void* src, const void* dst, int32_t step,
                                       ZeqiSize size) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst).status()) return s;
    if (step == 0) return StatusBadStep;
    return ArgChecks().size(size).status();
}

}  // namespace zeq

#endif  // ZEQ_TEXTURE_TEXTURE_CHECKS_H
