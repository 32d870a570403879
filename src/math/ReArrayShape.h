#pragma once

#include <cstddef>

#include "math/ReArray.h"

namespace Kt {

// Gives an output matrix the requested shape, zero-filled, unless it has that shape already:
// outputs reused from call to call then keep their storage and are not cleared.
inline void ensureShape(ReArray& matrix, std::size_t rows, std::size_t columns) {
  if (matrix.rows() != rows || matrix.columns() != columns) matrix.setToZeros(rows, columns);
}

}  // namespace Kt
