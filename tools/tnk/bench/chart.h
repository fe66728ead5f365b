// The ratios as a picture.
#pragma once

#include "tools/tnk/bench/results.h"
#include <string>
#include <vector>

namespace tnk::tool {

// A line a kernel, a dot a length, on a logarithmic scale of ours to the peer; a panel a core. Without cores there is one
// panel, and what each kernel is compared with stands at the right of its line. Ratios beyond the scale stand at its
// ends as triangles. SVG 1.1.
std::string ratio_chart(const std::vector<BenchRow> &rows, const CoreNames &cores,
                        const std::string &subtitle);

} // namespace tnk::tool
