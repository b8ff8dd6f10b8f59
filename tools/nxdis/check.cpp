#include "text.h"
namespace nxtext {
std::vector<std::string> check(const DOCUMENT&) { return {}; }
}
