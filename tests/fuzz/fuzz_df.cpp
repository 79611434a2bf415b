// What df prints of one file system.
#include "lib/instruments/internal/int_diskfree.h"
#include "tests/fuzz/fuzzHost.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::optional<double> free = int_diskfree::percentFreeIn(bytesOf(data, size));
    require(!free || std::isfinite(*free));
    return 0;
}
