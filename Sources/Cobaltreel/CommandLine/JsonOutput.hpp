#pragma once

#include <nlohmann/json.hpp>

namespace cobaltreel {

/// JSON whose keys stay in the order they were written.
using OrderedJson = nlohmann::ordered_json;

/// Prints one JSON document and nothing else. Text that is not UTF-8 (a window's title can be anything)
/// is mended, never an error.
void printJson(const OrderedJson& document);

}  // namespace cobaltreel
