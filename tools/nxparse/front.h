// FRONT: from Clang's syntax tree to icode, one translation unit.
//
// Declarations are handled in source order after the whole unit was parsed. Each function is translated into a
// FUNCTION_BODY and written; initialisers are collected and written at the end. What is not supported is reported at
// its place, and the unit then gives no file.
#ifndef NXPARSE_FRONT_H
#define NXPARSE_FRONT_H

#include "build.h"
#include "model.h"
#include "pragmas.h"

// An lvalue, or a struct value: what to evaluate first (or null), and the tree.
struct PLACE {
    NODE* pre = nullptr;
    NODE* node = nullptr;
};

class FRONT {
  public:
    FRONT(clang::ASTContext& context, ICODE_WRITER& writer, const std::vector<LOOP_PRAGMA>& pragmas)
        : m(context), ctx(context), out(writer), loop_pragmas(pragmas) {}
    // Translates everything; errors have been reported to Clang's diagnostics.
    void translate_unit();

  private:
    using Expr = clang::Expr;
    using Stmt = clang::Stmt;

    // ---- declarations (front.cpp)
    void top_level(const clang::Decl*);
    void define_function(const clang::FunctionDecl*);
    void translate_body(const clang::FunctionDecl*);
    void emit_deferred();
    SYMTAB* global_symbol(const clang::ValueDecl*);
    SYMTAB* function_symbol(const clang::FunctionDecl*);
    SYMTAB* variable_symbol(const clang::VarDecl*);
    void function_pragmas(SYMTAB*, const clang::FunctionDecl*, bool defined);
    void common_pragmas(SYMTAB*, const clang::NamedDecl*);
    void make_parameters(const clang::FunctionDecl*);
    void check_attributes(const clang::Decl*);
    bool wanted_unasked(const clang::FunctionDecl*);
    uint32_t alignment_of(const clang::VarDecl*);
    SYMTAB* static_local(const clang::VarDecl*);
    SYMTAB* local_symbol(const clang::VarDecl*); // declares it in the block in work
    SYMTAB* symbol_of(const clang::ValueDecl*);
    SYMTAB* hidden_static(const std::string& stem, TYPE*, clang::SourceLocation);
    SYMTAB* wide_string(const clang::StringLiteral*);
    SYMTAB* temporary(TYPE*); // a fresh local of the block in work
    PSN* position(clang::SourceLocation);

    // ---- expressions (expr.cpp, operators.cpp, call.cpp)
    NODE* value(const Expr*); // of scalar type
    PLACE lvalue(const Expr*);
    PLACE struct_value(const Expr*); // an lvalue, a call or a STASG
    PLACE struct_place(const Expr*); // an lvalue
    NODE* effect_tree(const Expr*);  // for its effect only; null if it has none
    NODE* condition(const Expr*);
    NODE* truth(NODE*); // a scalar as a condition
    NODE* convert(NODE*, TYPE* to);
    NODE* constant(const CVAL&); // no addresses of objects
    bool literal_constant(const Expr*, CVAL&);
    NODE* conversion(const clang::CastExpr*);
    NODE* decay(const Expr*);
    NODE* address(NODE* lvalue, TYPE* pointer);
    bool is_byte_text(const clang::StringLiteral*, std::string& bytes);
    NODE* string_address(const clang::StringLiteral*, TYPE* pointer);
    NODE* index(NODE* i);
    NODE* offset_pointer(NODE* p, NODE* i, bool subtract, clang::SourceLocation);
    NODE* unary(const clang::UnaryOperator*);
    NODE* increment(const clang::UnaryOperator*, bool value_needed);
    NODE* binary(const clang::BinaryOperator*);
    NODE* comparison(const clang::BinaryOperator*);
    NODE* pointer_difference(NODE* a, NODE* b, clang::SourceLocation);
    NODE* assignment(const clang::BinaryOperator*);
    NODE* compound_assignment(const clang::CompoundAssignOperator*);
    NODE* conditional(const clang::AbstractConditionalOperator*);
    PLACE member_place(const clang::MemberExpr*);
    PLACE literal_place(const clang::CompoundLiteralExpr*);
    PLACE va_arg_place(const clang::VAArgExpr*);
    // Two trees of one lvalue that is evaluated once, from its place.
    struct TWICE {
        NODE* pre;
        NODE* first;
        NODE* second;
    };
    TWICE lvalue_twice(const Expr*, PLACE);
    PLACE call(const clang::CallExpr*); // node: the call; pre: what its arguments need first
    bool builtin_call(const clang::CallExpr*, PLACE&);
    NODE* callee(const Expr*);

    // ---- initialisation (init.cpp)
    struct STEP {
        const clang::FieldDecl* field; // or null:
        uint64_t index;
    };
    struct LEAF {
        uint64_t bit = 0;
        TYPE* type = nullptr;
        const clang::FieldDecl* bitfield = nullptr;
        const Expr* init = nullptr;                 // null: zero of the type, which may be an aggregate
        const clang::StringLiteral* text = nullptr; // for an array of characters
        bool late = false;                          // overwrites part of an earlier leaf
        std::vector<STEP> path;
    };
    struct LEAVES {
        std::vector<LEAF> list;
        bool needs_zero = false; // a union is initialised by a smaller member
    };
    void collect(const Expr* init, TYPE*, uint64_t bit, std::vector<STEP>& path, LEAVES&);
    void collect_list(const clang::InitListExpr*, TYPE*, uint64_t bit, std::vector<STEP>& path, LEAVES&);
    void static_initialiser(SYMTAB*, TYPE*, const Expr* init);
    std::vector<NODE*> initialiser_nodes(const LEAVES&, std::vector<const LEAF*>* not_constant);
    NODE* constant_node(const CVAL&, TYPE* to, clang::SourceLocation);
    // The trees that initialise the local `sym`, in order.
    void auto_initialiser(SYMTAB*, TYPE*, const Expr* init, std::vector<NODE*>& trees);
    void initialise_by_copy(SYMTAB*, TYPE*, const LEAVES&, std::vector<NODE*>& trees, clang::SourceLocation);
    void text_initialiser(SYMTAB*, TYPE*, const clang::StringLiteral*, std::vector<NODE*>& trees);
    NODE* leaf_place(SYMTAB*, TYPE*, const std::vector<STEP>& path);
    void assign_leaf(SYMTAB*, TYPE*, const LEAF&, std::vector<NODE*>& trees);
    void assign_zero(NODE* place, TYPE*, std::vector<NODE*>& trees);
    NODE* memcpy_tree(NODE* to, NODE* from, uint32_t units);

    // ---- statements (stmt.cpp)
    void stmt(const Stmt*);
    void effect(const Expr*); // as statements
    void add(NODE*, clang::SourceLocation);
    void add_label(uint32_t);
    void branch(uint32_t label, clang::SourceLocation);
    void branch_if_zero(NODE* cond, uint32_t label, clang::SourceLocation);
    void compound(const clang::CompoundStmt*);
    void statements_of(const clang::CompoundStmt*);
    void decl_stmt(const clang::DeclStmt*);
    void if_stmt(const clang::IfStmt*);
    void while_stmt(const clang::WhileStmt*);
    void do_stmt(const clang::DoStmt*);
    void for_stmt(const clang::ForStmt*);
    void switch_stmt(const clang::SwitchStmt*);
    void return_stmt(const clang::ReturnStmt*);
    void asm_stmt(const clang::AsmStmt*);
    void conditional_effect(const clang::AbstractConditionalOperator*);
    void loop_header(const Stmt*, const Expr* step, const Expr* cond, const char* kind);
    void drop_pragmas(clang::SourceLocation before);
    NODE* inverse(NODE* cond);
    uint32_t new_label() { return ++body->labels; }
    uint32_t label_of(const clang::LabelDecl*);
    void open_block(clang::SourceLocation begin);
    void close_block(clang::SourceLocation end);
    BLOCK& block() { return *open_blocks.back(); }

    MODEL m;
    clang::ASTContext& ctx;
    ICODE_WRITER& out;
    const std::vector<LOOP_PRAGMA>& loop_pragmas;
    size_t next_pragma = 0;

    std::map<const clang::Decl*, SYMTAB*> symbols; // by canonical declaration
    std::map<std::string, SYMTAB*> linked;         // symbols with linkage, by name
    std::map<const Expr*, SYMTAB*> literals;       // static compound literals, wide strings
    std::map<std::vector<uint32_t>, SYMTAB*> wide_strings;
    std::map<const clang::FunctionDecl*, int> functions;  // definitions: 0 waiting, 1 asked for, 2 done
    std::vector<const clang::FunctionDecl*> asked;        // in the order of first use
    std::vector<const clang::VarDecl*> waiting_variables; // statics of headers, defined on first use
    std::map<const clang::VarDecl*, bool> defined_variables;
    unsigned static_count = 0; // of invented names

    // of the function in work
    const clang::FunctionDecl* function = nullptr;
    FUNCTION_BODY* body = nullptr;
    TYPE* return_type = nullptr;
    SYMTAB* va_area = nullptr;
    unsigned temp_count = 0;
    std::vector<BLOCK*> open_blocks;
    std::vector<uint32_t> break_labels, continue_labels;
    std::map<const clang::LabelDecl*, uint32_t> labels;
    std::map<const clang::SwitchCase*, uint32_t> case_labels;
    std::map<const clang::OpaqueValueExpr*, SYMTAB*> opaque;
};

#endif
