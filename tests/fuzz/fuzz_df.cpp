// What df prints of one file system.
#include "lib/instruments/internal/int_diskfree.h"
#include "tests/fuzz/fuzzHost.h"

#include <cmath>

void fuzz(const QByteArray &input)
{
    const std::optional<double> free = int_diskfree::percentFreeIn(input);
    require(!free || std::isfinite(*free));
}
