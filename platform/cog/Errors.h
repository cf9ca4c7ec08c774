#pragma once

#include <stdexcept>
#include <string>

namespace Cog {

// Base of the framework errors: range, reinstantiation, null argument and size errors. They
// carry fixed texts. The dispatch that ran a reaction or task traces them at level 0 and goes
// on; they never end the agent.
class Error : public std::runtime_error {
 public:
  explicit Error(std::string const& text) : std::runtime_error(text) {}
};

// A value outside the limits of a record attribute, with the record's fixed text, for example
// "NumericalRange::rangeMin > NumericalRange::rangeMax not allowed".
class RangeError : public Error {
 public:
  using Error::Error;
};

// A find-or-create asked again for an existing key with different constructor arguments.
class ReinstantiationError : public Error {
 public:
  explicit ReinstantiationError(std::string const& attribute)
      : Error("Reinstantiation of " + attribute + " with different arguments not allowed") {}
};

// A required constructor argument was null.
class NullArgumentError : public Error {
 public:
  explicit NullArgumentError(std::string const& attribute)
      : Error("Null " + attribute + " not allowed") {}
};

// Throws the null-argument error naming `attribute` when a required argument is null.
template <class P>
P const& requireArgument(P const& pointer, char const* attribute) {
  if (!pointer) {
    throw NullArgumentError(attribute);
  }
  return pointer;
}

// A bounded array met a count above its bound.
class SizeError : public Error {
 public:
  using Error::Error;
};

// Throws the null-argument error naming `attribute` when `p` is null.
template <class P>
void requireNonNull(P const& p, char const* attribute) {
  if (!p) {
    throw NullArgumentError(attribute);
  }
}

}  // namespace Cog
