// Porter-Duff compositing (Porter and Duff, "Compositing Digital Images", 1984): each mode is the
// pair of factors that source and destination coverage are multiplied by.
#pragma once

#include "blit/effects.h"

namespace {

enum class factor : uint8_t { zero, one, other, not_other }; // of the other side's coverage

struct factors {
  factor source, destination;
};

constexpr factors factors_of(effect mode) {
  using enum factor;
  switch (mode) {
  case fx_dstoversrc: return {not_other, one};
  case fx_srcindst: return {other, zero};
  case fx_dstinsrc: return {zero, other};
  case fx_srcoutdst: return {not_other, zero};
  case fx_dstoutsrc: return {zero, not_other};
  case fx_srcatopdst: return {other, not_other};
  case fx_dstatopsrc: return {not_other, other};
  case fx_srccleardst: return {zero, zero};
  case fx_srcxordst: return {not_other, not_other};
  default: return {one, not_other}; // source over destination
  }
}

/// A side's coverage times its factor; `mul` is the x * y / 255 of the type at hand.
template <factor f, typename T, typename Mul> inline T covered(T own, T other, Mul mul) {
  if constexpr (f == factor::zero)
    return T{};
  else if constexpr (f == factor::one)
    return own;
  else if constexpr (f == factor::other)
    return mul(own, other);
  else
    return mul(own, 255 - other);
}

} // namespace
