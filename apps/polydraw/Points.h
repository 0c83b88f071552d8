// Points from a text file: one a line, "x y" with blanks between; empty lines and lines that begin with # are
// skipped.
#ifndef POLYDRAW_POINTS_H
#define POLYDRAW_POINTS_H

#include <M_Vector.h>

#include <filesystem>
#include <stdexcept>
#include <vector>

namespace polydraw {

/// What is wrong with a file, in one line that names it.
class BadFile : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Throws BadFile for a file that cannot be read, a line that is no point, or a coordinate beyond 1e12.
std::vector<M_Vector2> ReadPoints(const std::filesystem::path& file);

}  // namespace polydraw

#endif
