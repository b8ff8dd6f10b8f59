// File names: the extension is what begins at the last dot of the last path component; a component that only begins
// with a dot has none.
#ifndef DRIVER_FILENAME_H
#define DRIVER_FILENAME_H

#include <string>

std::string fn_delext(const std::string& name); // without its extension
// With the extension (dot included) put behind it: always if `force`, else only if the name has none.
std::string fn_addext(const std::string& name, const char* extension, int force);

#endif
