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
        WIntType = SignedInt;
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

llvm::IntrusiveRefCntPtr<llvm::vfs::FileSystem> make_file_system() {
    auto headers = llvm::makeIntrusiveRefCnt<llvm::vfs::InMemoryFileSystem>();
    for (const EMBEDDED_HEADER* h = embedded_headers; h->name != nullptr; ++h)
        headers->addFile(std::string(header_folder) + "/" + h->name, 0, llvm::MemoryBuffer::getMemBuffer(h->text));
    auto all = llvm::makeIntrusiveRefCnt<llvm::vfs::OverlayFileSystem>(llvm::vfs::getRealFileSystem());
    all->pushOverlay(headers);
    return all;
}
