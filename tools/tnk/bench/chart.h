// The ratios as a picture.
#pragma once

#include "tools/tnk/bench/results.h"
#include <string>
#include <vector>

namespace tnk::tool {

// A line a routine, a dot a size, on a logarithmic scale of ours to the peer, and a second panel for the best cores of
// peers that have any. Where the rows have several peers, each stands at the right of its line. Ratios beyond the scale
// stand at its ends as triangles. Rows without a ratio are left out. SVG 1.1.
std::string ratio_chart(const std::vector<BenchRow> &rows, const std::string &name,
                        const std::string &subtitle);

// A panel a routine, with ours and its peer as curves of their rates over the logarithm of the size. "" when no routine
// was measured at two sizes or more.
std::string rate_chart(const std::vector<BenchRow> &rows, const std::string &name,
                       const std::string &subtitle);

} // namespace tnk::tool
