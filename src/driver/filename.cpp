#include "driver/filename.h"

namespace {

// Where the extension begins; the length of the name if it has none.
size_t extension_at(const std::string& name) {
    size_t slash = name.rfind('/'), start = slash == std::string::npos ? 0 : slash + 1;
    size_t dot = name.rfind('.');
    return dot == std::string::npos || dot <= start ? name.size() : dot;
}

} // namespace

std::string fn_delext(const std::string& name) { return name.substr(0, extension_at(name)); }

std::string fn_addext(const std::string& name, const char* extension, int force) {
    return force || extension_at(name) == name.size() ? name + extension : name;
}
