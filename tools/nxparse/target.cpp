#include "target.h"

#include "embedded.h"

using namespace clang;

namespace {

class NX_TARGET final : public TargetInfo {
  public:
    NX_TARGET() : TargetInfo(llvm::Triple("unknown-unknown-none-elf")) {
        BoolWidth = BoolAlign = 16;
        IntWidth = IntAlign = 32;
        LongWidth = LongAlign = 32;
        LongLongWidth = LongLongAlign = 64;
        FloatWidth = FloatAlign = 32;
        DoubleWidth = DoubleAlign = 64;
        LongDoubleWidth = LongDoubleAlign = 64;
        LongDoubleFormat = &llvm::APFloat::IEEEdouble();
        PointerWidth = PointerAlign = 32;
        SuitableAlign = 64;
        SizeType = UnsignedInt;
        PtrDiffType = SignedInt;
        IntPtrType = SignedInt;
        IntMaxType = SignedLongLong;
        WCharType = UnsignedShort;
        WIntType = UnsignedInt;
        Char16Type = UnsignedShort;
        Char32Type = UnsignedInt;
        Int64Type = SignedLongLong;
        Int16Type = SignedShort;
        SigAtomicType = SignedInt;
        TLSSupported = false;
        VLASupported = false;
        resetDataLayout("e-p:32:32-i64:64-n16:32");
    }

    void getTargetDefines(const LangOptions&, MacroBuilder&) const override {}
    ArrayRef<Builtin::Info> getTargetBuiltins() const override { return None; }
    BuiltinVaListKind getBuiltinVaListKind() const override { return CharPtrBuiltinVaList; }
    bool validateAsmConstraint(const char*&, ConstraintInfo&) const override { return false; }
    bool hasInt128Type() const override { return false; }
    bool isValidCPUName(llvm::StringRef) const override { return true; }
    const char* getClobbers() const override { return ""; }
    ArrayRef<const char*> getGCCRegNames() const override { return None; }
    ArrayRef<GCCRegAlias> getGCCRegAliases() const override { return None; }
};

// TargetInfo keeps its options private and gets them only from the factory of Clang's own targets, but assembly
// statements look at them. An explicit instantiation may name a private member; this one hands it out.
using OPTIONS_MEMBER = std::shared_ptr<TargetOptions> TargetInfo::*;
OPTIONS_MEMBER options_member();
template <OPTIONS_MEMBER member> struct OPTIONS_ACCESS {
    friend OPTIONS_MEMBER options_member() { return member; }
};
template struct OPTIONS_ACCESS<&TargetInfo::TargetOpts>;

} // namespace

const char* const header_folder = "/nxparse/include";

TargetInfo* make_target() {
    TargetInfo* target = new NX_TARGET;
    target->*options_member() = std::make_shared<TargetOptions>();
    return target;
}

const std::vector<std::string>& predefined_macros() {
    static const std::vector<std::string> macros = {
        "__NXPARSE__=1",
        "__ORVANE__=1",
        "__CHAR_BIT__=16",
        "__SCHAR_MAX__=32767",
        "__SHRT_MAX__=32767",
        "__INT_MAX__=2147483647",
        "__LONG_MAX__=2147483647L",
        "__LONG_LONG_MAX__=9223372036854775807LL",
        "__WCHAR_MAX__=65535",
        "__SIZE_MAX__=4294967295U",
        "__SIZEOF_SHORT__=1",
        "__SIZEOF_INT__=2",
        "__SIZEOF_LONG__=2",
        "__SIZEOF_LONG_LONG__=4",
        "__SIZEOF_FLOAT__=2",
        "__SIZEOF_DOUBLE__=4",
        "__SIZEOF_LONG_DOUBLE__=4",
        "__SIZEOF_POINTER__=2",
        "__SIZEOF_SIZE_T__=2",
        "__SIZEOF_WCHAR_T__=1",
        "__SIZE_TYPE__=unsigned int",
        "__PTRDIFF_TYPE__=int",
        "__WCHAR_TYPE__=unsigned short",
        "__INTPTR_TYPE__=int",
        "__UINTPTR_TYPE__=unsigned int",
        "__INT16_TYPE__=short",
        "__UINT16_TYPE__=unsigned short",
        "__INT32_TYPE__=int",
        "__UINT32_TYPE__=unsigned int",
        "__INT64_TYPE__=long long int",
        "__UINT64_TYPE__=unsigned long long int",
        "__ORDER_LITTLE_ENDIAN__=1234",
        "__ORDER_BIG_ENDIAN__=4321",
        "__BYTE_ORDER__=1234",
        "__STDC_NO_COMPLEX__=1",
        "__STDC_NO_VLA__=1",
        "__STDC_NO_THREADS__=1",
        "__STDC_NO_ATOMICS__=1",
    };
    return macros;
}

llvm::IntrusiveRefCntPtr<llvm::vfs::FileSystem> make_file_system() {
    auto headers = llvm::makeIntrusiveRefCnt<llvm::vfs::InMemoryFileSystem>();
    for (const EMBEDDED_HEADER* h = embedded_headers; h->name != nullptr; ++h)
        headers->addFile(std::string(header_folder) + "/" + h->name, 0, llvm::MemoryBuffer::getMemBuffer(h->text));
    auto all = llvm::makeIntrusiveRefCnt<llvm::vfs::OverlayFileSystem>(llvm::vfs::getRealFileSystem());
    all->pushOverlay(headers);
    return all;
}
