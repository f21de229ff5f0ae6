// jetdump FILE --upsize CONNECT [TABLE...] [--drop-local]
#pragma once

#include <string>
#include <vector>

#include "jet/path_mapping.h"

namespace jetdump {

int Upsize(const std::string& file, const std::string& connect, const std::vector<std::string>& tables,
           bool drop_local, const std::vector<jet::OdbcMapping>& mappings);

}  // namespace jetdump
