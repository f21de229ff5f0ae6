// Jet's Like: * any run, ? one character, # one digit, [abc] [!a-z] a set;
// letters match without regard to case.
#pragma once

#include <string_view>

namespace jet::sql {

bool LikeMatches(std::string_view text, std::string_view pattern);

}  // namespace jet::sql
