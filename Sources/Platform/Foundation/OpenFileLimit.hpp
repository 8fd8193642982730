#pragma once

namespace platform {

/// Makes sure that the process may open `count` files more, sockets and pipes included: libraries crash or
/// wait for ever when they can't. Raises the process's own limit as far as the system lets it. Throws
/// PlatformError("Files", EMFILE) naming the limit and the remedy.
void requireOpenFiles(int count);

}  // namespace platform
