// The parameters of a descriptor: how a value of each is passed, and the node's fields behind those that are one.
#pragma once

#include <tnk/dft_node.h>

namespace tnk::dft {

enum class Kind : unsigned char { int32, int64, scale, vector, text, reserved };

constexpr uint64_t parameter_count = 27;
constexpr Kind kinds[parameter_count] = {
    Kind::int32,    // forward domain
    Kind::int64,    // dimension
    Kind::vector,   // lengths
    Kind::int32,    // precision
    Kind::scale,    // forward scale
    Kind::scale,    // backward scale
    Kind::reserved, // forward sign
    Kind::int64,    // number of transforms
    Kind::int32,    // complex storage
    Kind::int32,    // real storage
    Kind::int32,    // conjugate-even storage
    Kind::int32,    // placement
    Kind::vector,   // input strides
    Kind::vector,   // output strides
    Kind::int64,    // input distance
    Kind::int64,    // output distance
    Kind::reserved, // initialization effort
    Kind::reserved, // workspace
    Kind::int32,    // ordering
    Kind::int32,    // transpose
    Kind::text,     // descriptor name
    Kind::int32,    // packed format
    Kind::int32,    // commit status
    Kind::text,     // version
    Kind::reserved, // forward ordering
    Kind::reserved, // backward ordering
    Kind::int64,    // number of user threads
};

// Negative numbers are far above the last one.
constexpr bool is_parameter(tnk_int parameter) {
  return static_cast<uint64_t>(parameter) < parameter_count;
}

// DftiNoError for a parameter of that kind, otherwise the status of a call that takes it for one.
constexpr tnk_int status_as(Kind kind, tnk_int parameter) {
  if (!is_parameter(parameter)) return DftiInconsistentConfiguration;
  if (kinds[parameter] == Kind::reserved) return DftiUnimplemented;
  return kinds[parameter] == kind ? DftiNoError : DftiInconsistentConfiguration;
}

} // namespace tnk::dft
