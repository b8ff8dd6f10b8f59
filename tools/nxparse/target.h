// The machine as Clang is told about it, its predefined macros, and the standard headers that stand inside the binary.
#ifndef NXPARSE_TARGET_H
#define NXPARSE_TARGET_H

#include "clang_pch.h"

// The target for Clang. Its widths are the machine's but for char, to which Clang always gives 8 bits: nothing that
// depends on the width of char may be taken from Clang (see model.h).
clang::TargetInfo* make_target();

// Macros that every translation unit starts with, as NAME=VALUE.
const std::vector<std::string>& predefined_macros();

// Folder of the virtual file system in which the standard headers are found.
extern const char* const header_folder;

// The real file system with the standard headers laid over it.
llvm::IntrusiveRefCntPtr<llvm::vfs::FileSystem> make_file_system();

#endif
