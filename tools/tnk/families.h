// The families of exported names.
#pragma once

#include <string>
#include <vector>

namespace tnk::tool {

struct FamilyCount {
  const char *prefix;  // "tnk_blas_"; "" for names that belong to none
  const char *meaning; // "dense BLAS"
  int count;           // names of this family; a name counts with its longest prefix only
};

// The families that have names in the list, in the order of the table.
std::vector<FamilyCount> count_families(const std::vector<std::string> &names);

} // namespace tnk::tool
