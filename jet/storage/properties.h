// The property blob of a catalogue row (MSysObjects.LvProp): the table's own
// properties and one block per column (Caption, Description, Format, ...).
#pragma once

#include <map>
#include <string>

#include "jet/schema.h"
#include "storage/text_reader.h"

namespace jet {

struct ObjectProperties {
  PropertyMap object;                          // the block without a name
  std::map<std::string, PropertyMap> by_name;  // blocks named after columns
};

Status ParseProperties(const Bytes& blob, const TextReader& text, ObjectProperties* out);

}  // namespace jet
