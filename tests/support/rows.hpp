#pragma once

#include <tuple>
#include <vector>

namespace kestu::tests {

/// A table's rows, whose columns the loop over them names.
template <class... Columns>
using Rows = std::vector<std::tuple<Columns...>>;

} // namespace kestu::tests
