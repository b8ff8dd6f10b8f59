// MODEL: C types, record layout and constants of the target, whose char has 16 bits.
//
// Clang parses and types the program, but believes that a char has 8 bits. Its syntax trees, its arithmetic types and
// its implicit casts do not depend on that; sizes, offsets, array bounds, enumerators and every folded value do. This
// class computes those anew from the syntax trees. Types are the library's TYPE records; sizes are in bits, offsets of
// addresses in 16-bit units.
#ifndef NXPARSE_MODEL_H
#define NXPARSE_MODEL_H

#include "clang_pch.h"

#include "llvm/ADT/DenseMap.h"

#include "ir/types.h"

// Thrown after an error was reported: the declaration in work is given up, the next one is tried. Caught in front.cpp
// only; it never crosses a frame of Clang's.
struct REFUSED {};

// A constant of the target.
struct CVAL {
    enum KIND { NONE, INT, FLT, ADDR };
    KIND kind = NONE;
    TYPE* type = nullptr;                 // unqualified
    llvm::APSInt i;                       // INT: as wide as the type, signedness of the type
    llvm::APFloat f{0.0};                 // FLT: in the type's format
    const clang::Decl* decl = nullptr;    // ADDR: variable or function, or
    const clang::Expr* literal = nullptr; // ADDR: string literal, compound literal or __func__, or both null
    int64_t units = 0;                    // ADDR: offset in 16-bit units; without a base the address itself
    bool is_zero() const;
};

// One member of a record as laid out.
struct MEMBER {
    fkMDATA* mdata = nullptr; // null for an unnamed bit-field
    TYPE* type = nullptr;     // declared type
    uint64_t offset = 0;      // bits
    uint32_t width = 0;       // bits
    bool bitfield = false;
};

// Where the members of a record stand; known before any TYPE of it exists, so that types may refer to one another.
struct LAYOUT {
    struct PLACE {
        const clang::FieldDecl* field;
        uint64_t offset; // bits
        uint32_t width;  // bits
    };
    uint64_t size = 0;   // bits
    uint32_t align = 16; // bits
    std::vector<PLACE> places;
};

class MODEL {
  public:
    explicit MODEL(clang::ASTContext& context);

    [[noreturn]] void refuse(clang::SourceLocation where, const llvm::Twine& what);
    void warn(clang::SourceLocation where, const llvm::Twine& what);

    // ---- types (types.cpp)
    TYPE* type_of(clang::QualType, clang::SourceLocation where);
    TYPE* type_of(clang::TypeLoc);
    TYPE* type_of(const clang::TypeSourceInfo* info) { return type_of(info->getTypeLoc()); }
    TYPE* type_of_decl(const clang::ValueDecl*); // declared type, with qualifiers; parameters after adjustment
    TYPE* type_of_expr(const clang::Expr*);      // lvalues with qualifiers
    TYPE* unqual(TYPE* t) { return t->stqs(); }
    TYPE* value_type(TYPE* t);  // of an expression node: unqualified, an enum's underlying type
    TYPE* lvalue_type(TYPE* t); // the same with the qualifiers kept
    TYPE* pointer_to(TYPE* t) { return tp->mk_ptr(t, 32, 32); }
    TYPE* decayed(TYPE* array) { return pointer_to(array->elem_type()); }
    TYPE* array_of(TYPE* elem, uint64_t count, clang::SourceLocation where);
    uint32_t size_of(TYPE* t, clang::SourceLocation where); // units; the type must be complete
    uint32_t units(TYPE* t) { return t->size_bits / 16; }
    // The type that Clang gives the values of an enum; the file's underlying type differs in sign only.
    TYPE* enum_value_type(clang::QualType, clang::SourceLocation where);

    // ---- records (layout.cpp)
    const MEMBER& member(const clang::FieldDecl*);
    TYPE* record_type(const clang::RecordDecl*);

    // ---- literals (literals.cpp)
    // The characters of a string without its final 0. Each is one unit, so up to 65535 (or a wide character).
    std::vector<uint32_t> code_units(const clang::StringLiteral*);

    int64_t character(const clang::CharacterLiteral*);

    // ---- constants (consteval.cpp)
    bool eval(const clang::Expr*, CVAL&);                            // false if not a constant
    bool eval_lvalue(const clang::Expr*, CVAL&);                     // the address of an object or function
    llvm::APSInt int_constant(const clang::Expr*, const char* what); // refuses what is not an integer constant
    llvm::APSInt enumerator(const clang::EnumConstantDecl*);
    bool convert(CVAL& v, TYPE* to); // as a cast does
    CVAL make_int(int64_t value, TYPE* t);
    static llvm::APFloat round_to(llvm::APFloat f, TYPE* t);
    static const llvm::fltSemantics& semantics(TYPE* t);

    clang::ASTContext& ctx;

  private:
    TYPE* builtin_type(const clang::BuiltinType*, clang::SourceLocation where);
    TYPE* enum_type(const clang::EnumDecl*);
    TYPE* function_type(TYPE* ret, const std::vector<TYPE*>& params, bool variadic, bool proto);
    TYPE* qualified(TYPE* t, clang::Qualifiers q, clang::SourceLocation where);
    TYPE* expr_type_uncached(const clang::Expr*);
    TYPE* pointer_or_array_type(const clang::Expr*);
    TYPE* array_from_loc(clang::ArrayTypeLoc);
    TYPE* typedef_type(const clang::TypedefNameDecl*, clang::SourceLocation where);
    TYPE* var_type(const clang::VarDecl*);
    TYPE* parameter_type(const clang::ParmVarDecl*);
    bool mentions_array(clang::QualType);
    struct MEASURE {
        uint64_t size;
        uint32_t align;
    };
    MEASURE measure(clang::TypeLoc);
    MEASURE measure(clang::QualType, clang::SourceLocation where);
    const LAYOUT& layout(const clang::RecordDecl* definition);
    void place_member(const clang::FieldDecl*, bool is_union, LAYOUT&, uint64_t& next);
    uint64_t array_count(clang::ArrayTypeLoc);
    void collect_enumerators(const clang::EnumDecl*);
    std::string unique_tag(const std::string& tag);

    bool eval_cast(const clang::CastExpr*, CVAL&);
    bool eval_unary(const clang::UnaryOperator*, CVAL&);
    bool eval_binary(const clang::BinaryOperator*, CVAL&);
    bool eval_int_binary(clang::BinaryOperatorKind, const CVAL& a, const CVAL& b, CVAL& out);
    bool eval_compare(clang::BinaryOperatorKind, const CVAL& a, const CVAL& b, CVAL& out);
    bool eval_call(const clang::CallExpr*, CVAL&);
    bool eval_offsetof(const clang::OffsetOfExpr*, CVAL&);
    bool eval_sizeof(const clang::UnaryExprOrTypeTraitExpr*, CVAL&);
    bool add_units(CVAL& address, const llvm::APSInt& index, TYPE* elem, bool subtract);

    std::map<const clang::RecordDecl*, LAYOUT> layouts_;
    std::map<const clang::RecordDecl*, TYPE*> records_;
    std::map<const clang::FieldDecl*, MEMBER> members_;
    llvm::DenseMap<const clang::EnumDecl*, TYPE*> enums_;
    std::map<const clang::EnumConstantDecl*, llvm::APSInt> enumerators_;
    llvm::DenseMap<const clang::Decl*, TYPE*> decl_types_;
    llvm::DenseMap<const clang::Expr*, TYPE*> expr_types_; // only of those that mention an array
    llvm::DenseMap<void*, TYPE*> plain_types_;             // by QualType
    std::map<std::string, unsigned> tags_;
    std::vector<uint64_t> odd_bounds_; // what Clang computed for array bounds that have another value here
    void decode(llvm::StringRef token, clang::SourceLocation where, std::vector<uint32_t>& out);
    unsigned refuse_id_, warn_id_;
};

#endif
