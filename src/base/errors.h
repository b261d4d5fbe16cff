#pragma once

#include <stdexcept>
#include <string>

namespace quern {

// The failures the system names. A routine that ends and passes an error to
// its caller throws one of these; a boundary catches QuernError (or any
// std::exception) and tells the user.
class QuernError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A 16-bit or 32-bit value left its range.
class OverflowError : public QuernError {
 public:
  using QuernError::QuernError;
};

// An index outside a table or a fixed store.
class IndexError : public QuernError {
 public:
  using QuernError::QuernError;
};

// A surface asked for something impossible: a size below one pixel, a scale of 0.
class SurfaceError : public QuernError {
 public:
  using QuernError::QuernError;
};

// A picture or a drawing is larger than a fixed store can take.
class LimitError : public QuernError {
 public:
  using QuernError::QuernError;
};

// A file that cannot be read or written.
class FileError : public QuernError {
 public:
  using QuernError::QuernError;
};

}  // namespace quern
