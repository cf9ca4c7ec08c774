#include "models/l3name/VrfName.h"

#include "platform/cog/Errors.h"

namespace L3 {

VrfName::VrfName(Cog::String value) : value_(std::move(value)) {
  if (value_.size() > maxLength) {
    throw Cog::RangeError("VrfName::value::bytes > VrfName::maxLength not allowed");
  }
}

}  // namespace L3
