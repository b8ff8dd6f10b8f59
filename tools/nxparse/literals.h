// Source texts with escapes above 255 in narrow literals, made readable for Clang.
#ifndef NXPARSE_LITERALS_H
#define NXPARSE_LITERALS_H

#include "clang_pch.h"

// `files`, with such escapes changed in what is read and their values remembered for MODEL::code_units.
llvm::IntrusiveRefCntPtr<llvm::vfs::FileSystem>
with_large_escapes(llvm::IntrusiveRefCntPtr<llvm::vfs::FileSystem> files);

#endif
