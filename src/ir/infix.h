// C-like text of trees and statements, for comments in the output and for the debug log.
#ifndef IR_INFIX_H
#define IR_INFIX_H

#include <cstddef>
#include <string>

struct NODE;
struct LBL;
struct BBLK;

// Text is cut, with "..." at the end, when it grows past `limit` characters.
std::string tree2infix(const NODE* tree, size_t limit = 2000);
std::string stmt2infix(const NODE* stmt, size_t limit = 2000);
std::string label2infix(const LBL* label); // "L<number>:"

#endif
