#pragma once

#include <stdexcept>

namespace Kel {

// Refused input. A function that throws one of these has changed nothing.
class Exception : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A range-checked identifier was made from a number outside its range.
class RangeException : public Exception {
  public:
    using Exception::Exception;
};

// A mutator was given a null entity.
class NullArgumentException : public Exception {
  public:
    using Exception::Exception;
};

// A text is not a text form of the value that was to be read from it.
class ParseException : public Exception {
  public:
    using Exception::Exception;
};

// A key already holds a member that was built from different arguments.
class ReinstantiationException : public Exception {
  public:
    using Exception::Exception;
};

// An entity that has a parent was given to a second one.
class ParentException : public Exception {
  public:
    using Exception::Exception;
};

} // namespace Kel
