#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace Bench {

// Nearest rank.
inline double Percentile(std::vector<double> values, double fraction) {
    std::sort(values.begin(), values.end());
    const size_t rank = static_cast<size_t>(std::ceil(fraction * static_cast<double>(values.size())));
    return values[std::max<size_t>(rank, 1) - 1];
}

}  // namespace Bench
