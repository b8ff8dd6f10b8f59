// The text form of icode, both ways; the grammar is in README.md.
#ifndef NXTEXT_TEXT_H
#define NXTEXT_TEXT_H

#include "document.h"

namespace nxtext {

// A tree nests at most this deep in a text; chains of `,` lists count once.
constexpr int max_text_depth = 2000;

struct PRINT_OPTIONS {
    bool source = false; // the lines of the source files, where they can be read, as comments
};
// Throws file_fault if the file cannot be shown (unbalanced functions, trees nested too deep).
std::string print(const DOCUMENT&, const PRINT_OPTIONS& = {});

// Throws text_fault. `name` is the text's own file name, used for positions that name no file.
DOCUMENT parse(const std::string& text, const std::string& name);

// The faults of form that the check finds, one text each, in the order of the file. Empty: the file is well formed.
std::vector<std::string> check(const DOCUMENT&);

} // namespace nxtext

#endif
