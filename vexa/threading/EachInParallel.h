#pragma once

#include <cstddef>
#include <functional>

namespace vexa {

// Does pieces of work, numbered from 0, in no order, on the calling thread and, where there are
// enough of them, on workers of the job system. Each thread that takes part calls `join` once, and
// what that returns for each piece that it does; it is destroyed there. `goOn`, which may be empty,
// is asked on the calling thread with the number of pieces that are done; false stops it. Returns
// when no thread is at work any more: true when all pieces were done. An exception of a piece stops
// it too, and is thrown to the caller.
using PieceOfWork = std::function<void(std::size_t piece)>;
bool EachInParallel(std::size_t pieces, const std::function<PieceOfWork()>& join,
                    const std::function<bool(std::size_t done)>& goOn);

}  // namespace vexa
