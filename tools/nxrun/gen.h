// The compiler from trees to internal code. A unit is compiled as a whole before it runs, so that a tree that is not
// well formed is found whether it would run or not.
//
// PROGRAM_GEN lays out the globals and holds what the functions share; FUNCTION_GEN compiles one function. Its parts:
//   gen_stmt   statements, branches, the function as a whole
//   gen_expr   values of expressions
//   gen_addr   lvalues, loads and stores, blocks of memory
//   gen_call   calls and builtins
//   flow       which locals are certainly written before they are read
#ifndef NXRUN_GEN_H
#define NXRUN_GEN_H

#include "bytecode.h"
#include "load.h"

#include <optional>
#include <unordered_map>

struct GEN_OPTIONS {
    bool count = false;
    bool steps = false; // the run has a step limit
    bool check_asserts = false;
    bool strict = false; // operand types that differ are an error instead of being converted
    bool trap_overflow = false;
};

VKIND kind_of(const TYPE*);                 // machine kind of a type
uint32_t units_of(const TYPE*);             // size of a type in units
int64_t normalized(int64_t value, VKIND k); // the low bits of an integer as a value of the kind
VKIND promoted(VKIND);                      // after the integer promotions
VKIND combined(VKIND, VKIND);               // after the usual arithmetic conversions
// A constant brought from one scalar kind to another, as a conversion at run time would.
int64_t converted_constant(int64_t value, VKIND from, VKIND to);
std::string c_name(const SYMTAB*); // a global's name without its prefix

// A global as the program sees it.
struct GLOBAL {
    ADDRESS at = 0;
    FUNCTION* function = nullptr; // for functions
};

class PROGRAM_GEN {
  public:
    PROGRAM_GEN(UNIT&, PROGRAM&, MEMORY&, const GEN_OPTIONS&);
    void compile(); // throws BAD_FILE

    const GLOBAL& global_of(const SYMTAB* s) const { return globals_[s->word[0]]; }
    ADDRESS text_address(const char* bytes, uint32_t n); // of the literal; equal texts share one
    uint32_t text_number(const std::string&);            // for CHECK and STOP
    uint32_t signature_number(const SIGNATURE&);
    FUNCTION* function_at(const SYMTAB* s) const { return globals_[s->word[0]].function; }
    void mismatch(const std::string& where, const std::string& what); // --strict: notes it
    [[noreturn]] void fail(const std::string& where, const std::string& what) const {
        throw BAD_FILE{unit.files[file_] + ": " + where + what};
    }

    UNIT& unit;
    PROGRAM& program;
    MEMORY& mem;
    const GEN_OPTIONS options;

  private:
    void declare_globals();
    void declare_function(SYMTAB*, bool has_body);
    void declare_object(SYMTAB*);
    void enter_file_of(const SYMTAB*); // for messages
    // The name under which a function or object is the same for all symbols.
    std::string key_of(const SYMTAB*) const;
    void initialise(SYMTAB*, const EXPR_LIST&);
    std::pair<int64_t, VKIND> static_value(const NODE*, const std::string& where, int depth);
    int64_t static_address(const NODE*, const std::string& where, int depth);
    SIGNATURE signature_of_definition(const SOURCE_FUNCTION&);

    std::vector<GLOBAL> globals_; // by SYMTAB::word[0]
    uint32_t file_ = 0;           // in work: index into the unit's files
    std::unordered_map<std::string, FUNCTION*> functions_by_key_;
    std::unordered_map<std::string, ADDRESS> objects_by_key_; // external definitions
    std::unordered_map<std::string, ADDRESS> texts_;
    std::unordered_map<std::string, uint32_t> text_numbers_;
    std::vector<std::string> mismatches_;
};

// Result of an expression: a constant or a slot.
struct VALUE {
    bool constant = false;
    uint16_t slot = 0;
    VKIND kind = V_VOID;
    int64_t imm = 0;

    static VALUE of(int64_t v, VKIND k) { return {true, 0, k, v}; }
    static VALUE in(int slot, VKIND k) { return {false, static_cast<uint16_t>(slot), k, 0}; }
};

// A place in memory: base + offset + index * scale, in units.
struct PLACE {
    enum BASE : uint8_t { SLOT, FRAME, FIXED }; // in the order of the address forms
    BASE base = FIXED;
    uint16_t slot = 0;
    bool indexed = false;
    uint16_t index = 0;
    int32_t scale = 0;
    int64_t offset = 0;
};

class FUNCTION_GEN {
  public:
    FUNCTION_GEN(PROGRAM_GEN&, const SOURCE_FUNCTION&, FUNCTION& out);
    void compile();

  private:
    struct LOCAL {
        enum WHERE : uint8_t { IN_SLOT, IN_FRAME, BY_ADDRESS }; // BY_ADDRESS: the slot holds the object's address
        const SYMTAB* symbol = nullptr;
        WHERE where = IN_SLOT;
        VKIND kind = V_VOID;
        bool address_taken = false;
        bool in_memory = false; // read or written as another kind of value
        bool checked = false;   // reads must find it written
        uint16_t slot = 0;
        uint32_t frame_at = 0;
        uint32_t hazard = 0; // number of the last statement that assigns to it inside an expression
        int name_text = -1;  // its name, for CHECK
    };
    // What an assignment can have on its left.
    struct LVALUE {
        LOCAL* local = nullptr; // a local in a slot; else `place`
        PLACE place;
        VKIND kind = V_BAD;   // of the access
        uint32_t units = 0;   // of the access
        bool counted = true;  // an access counts as load or store
        bool is_bits = false; // bit-field: bits [first_bit, first_bit + width) from `place`
        uint32_t first_bit = 0, width = 0;
    };
    static constexpr int no_slot = -1;
    static constexpr int max_depth = 2000;  // of nested operands
    static constexpr int max_slots = 60000; // of a frame
    static constexpr uint32_t max_frame = MEMORY::stack_units;

    // ---- gen_stmt: the function
    void prepare_locals();
    void scan_statements();
    void scan_tree(NODE* root, STATEMENT&);
    void mark_hazards(NODE* root);
    void place_locals();
    size_t statement(size_t at); // returns the last statement that it took in
    size_t tree_statement(NODE*, size_t at);
    void effect(NODE*); // value not wanted
    void return_statement(NODE*);
    void switch_statement(NODE*, size_t at);
    void cbranch_statement(NODE*, size_t& at);
    void end_loop_statement(NODE*);
    void branch_to(uint32_t label, size_t at);
    bool label_follows(uint32_t label, size_t at) const; // only labels stand between `at` and that label
    uint32_t label_of(const NODE* label_node);
    void finish();

    // ---- gen_stmt: conditions. Jumps to `target` if the truth of `cond` is `when`, else goes on.
    void condition(NODE* cond, bool when, uint32_t target);
    void relation_jump(NODE* cond, bool when, uint32_t target);

    // ---- gen_expr. `want`: slot that the result should go to; it is written by the last instruction only.
    VALUE value(NODE*, int want = no_slot);
    VALUE value_uncounted(NODE*, int want);
    VALUE constant_value(const NODE*);
    VALUE arithmetic(NODE*, int want);
    VALUE unary(NODE*, int want);
    VALUE relation(NODE*, int want);
    VALUE truth_value(NODE*, int want); // ANDAND, OROR
    VALUE choice(NODE*, int want);      // QUEST
    VALUE conversion(NODE*, int want);
    VALUE scaled(NODE*, int want); // PMCONV, PVCONV
    VALUE assign(NODE*, bool used, int want);
    VALUE op_assign(NODE*, bool used, int want);
    VALUE post_step(NODE*, bool used, int want);
    VALUE operate(int op, VKIND k, VALUE a, VALUE b, int want); // plain operator on operands of one kind
    VALUE operate_float(int op, VKIND k, VALUE a, VALUE b, int want);
    VALUE compare(int op, VALUE a, VALUE b, int want, const NODE* where);
    bool unify_for_comparison(int& op, VALUE& a, VALUE& b, const NODE* where); // returns true for floats
    VALUE convert(VALUE, VKIND to, int want = no_slot, bool to_bool = false);
    VALUE coerced(VALUE, VKIND to, const NODE* where, int want = no_slot); // with --strict: must be of that kind
    void value_to(NODE*, VKIND, int slot);                                 // into that slot, converted
    void move_to(VALUE, int slot);
    void release_above(int keep, VALUE& result);
    VALUE in_slot(VALUE); // a constant goes to a new slot
    void count_operation(int op, VKIND, const NODE*);
    bool is_distance_scaling(const NODE*) const;

    // ---- gen_addr
    LVALUE lvalue(NODE*);
    LVALUE lvalue_of_name(NODE*);
    LVALUE member(NODE*, PLACE object);
    PLACE place_of_pointer(NODE*);    // what a pointer value points to
    bool is_address_sum(NODE*) const; // pointer + integer, or pointer - constant
    PLACE place_of_sum(NODE*);        // of one
    PLACE place_of_object(NODE*);     // any aggregate, also one that an expression yields
    PLACE place_of_choice(NODE*);
    PLACE place_at(VALUE address);
    VALUE pointer_value(NODE*);
    bool add_index(PLACE&, NODE* index, int64_t scale);
    VALUE address_value(const PLACE&, int want = no_slot);
    VALUE load(const LVALUE&, int want = no_slot);
    void store(const LVALUE&, VALUE); // of the lvalue's kind
    VALUE stored_bits(const LVALUE&, VALUE, int want);
    VALUE read_local(LOCAL&);
    LOCAL* local_of(const NODE* name);
    PLACE assign_block(NODE*); // STASG, ARASG
    void copy_block(const PLACE& to, const PLACE& from, uint32_t units);
    void place_fields(INSN&, const PLACE&); // address operands of an instruction
    VALUE block_copy_call(NODE*);           // MEMCPY

    // ---- gen_call
    VALUE call(NODE*, int want); // result of a struct call: the address of its copy
    VALUE call_into(NODE*, int want, uint32_t area);
    PLACE call_block(NODE*); // a struct result
    SIGNATURE signature_of_site(NODE* call, const std::vector<NODE*>& args);
    std::vector<NODE*> list_items(NODE* list); // of a COMMA chain
    void argument_to(NODE*, VKIND, uint32_t units, int slot);
    uint32_t pass_extras(const std::vector<NODE*>& args, size_t first); // returns the area's place in the frame
    VALUE builtin(NODE*, int want);
    VALUE stop(const std::string& why); // an instruction that traps, and a value for form's sake

    // ---- code
    INSN& emit(BYTECODE op, int a = 0, int b = 0, int c = 0);
    INSN& emit_op(int op, int a, int b, int c) { return emit(static_cast<BYTECODE>(op), a, b, c); }
    INSN& emit_imm(int op, int a, int b, int64_t imm);
    uint32_t new_label();
    void bind(uint32_t label);
    void jump(BYTECODE op, int a, int b, int32_t x, uint32_t label, bool counted_as_taken);
    int new_slot();
    uint32_t new_frame_object(uint32_t units); // lives to the end of the statement
    void open_block();
    void close_block() { block_ = -1; }
    void count(COUNTER, uint32_t n = 1);
    void count_node();
    uint32_t position_number(const PSN*);
    std::string where() const; // position and function, for messages
    [[noreturn]] void fail(const std::string& what) const { unit_.fail(where(), what); }
    NODE* operand(NODE* n, bool right = false) const;
    VKIND scalar_kind(const NODE*) const; // of the node's type; fails if that is no scalar
    uint32_t block_units(const TYPE*) const;

    PROGRAM_GEN& unit_;
    const SOURCE_FUNCTION& source_;
    FUNCTION& out_;
    std::vector<STATEMENT> statements_;
    std::vector<LOCAL> locals_; // by SYMTAB::word[0]
    std::vector<INSN> code_;
    std::vector<uint32_t> position_of_;
    std::vector<int64_t> label_at_;                        // by label; -1 if not bound
    std::unordered_map<uint32_t, uint32_t> source_labels_; // number in the file to label
    struct STUB {
        uint32_t label, target;
    };
    std::vector<STUB> stubs_;                        // jumps that count as taken
    std::unordered_map<uint32_t, uint32_t> stub_of_; // by target
    std::vector<uint32_t> statement_objects_;        // frame places of this statement's temporaries: place, units
    const PSN* psn_ = nullptr;
    uint32_t position_ = 0;
    const PSN* last_psn_ = nullptr;
    uint32_t statement_number_ = 0;
    int top_ = 0; // first free slot
    int most_slots_ = 0;
    int first_temp_ = 0;
    uint32_t frame_locals_ = 0; // units of the locals in memory
    uint32_t frame_top_ = 0, most_frame_ = 0;
    int block_ = -1;
    int depth_ = 0;
    int result_slot_ = no_slot;    // parameter that holds where a struct result goes
    size_t last_bound_ = SIZE_MAX; // instruction in front of which a label was bound last
};

extern const bool writes_slot_a[B_COUNT]; // whether slot a is the operation's result

// Removes the checks of locals that are certainly written before the read, and gives the others their flags: a slot for
// each, set by every write of the local. Returns false if the frame would have too many slots.
bool settle_checks(std::vector<INSN>& code, std::vector<uint32_t>& position_of, std::vector<JUMP_TABLE>& tables,
                   uint32_t& slots);

#endif
