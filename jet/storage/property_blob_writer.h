// Encoding a catalogue property blob (MSysObjects.LvProp) in the layout
// properties.cpp reads: "MR2\0", one block of property names, then one block
// of values for the object itself and one per named column.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "jet/value.h"

namespace jet {

struct PropertyBlock {
  std::string owner;  // a column's name; empty for the object itself
  std::vector<std::pair<std::string, Value>> values;  // Text, Boolean, Long
};

Bytes EncodePropertyBlob(const std::vector<PropertyBlock>& blocks);

}  // namespace jet
