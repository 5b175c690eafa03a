#pragma once

#include <string>

#include "explain/explanation.h"

namespace explain {

// The steps of the start as an SVG picture with this many stations in a row. Stations that the start did not
// reach are drawn as such.
std::string drawRoad(const Explanation& explanation, int columns);

}  // namespace explain
