// NODE: expression and statement trees; LIST: statement lists.
//
// A tree belongs to the statement cell that holds it, a list of cells to its block (or to FUNINFO::statements before
// blocks exist). Trees are never shared; the right link of a CSE_DUPE is the one exception and is not owned.
#ifndef IR_NODE_H
#define IR_NODE_H

#include "ir/int65.h"
#include "ir/opcodes.h"
#include "ir/psn.h"

#include <cstddef>
#include <cstdint>

struct TYPE;
struct SYMTAB;
struct fkMDATA;
struct LBL;
struct LS;
struct PRAGMA;
struct FUNINFO;
struct PTENV;
struct BBLK;
struct simul_fval;
struct NODE;

// The accessor interface of a tree node, as the icode reader and writer use it. It holds no data, and each accessor has
// a default, so that they can work on any kind of tree.
struct BASE_NODE {
    virtual SYMTAB* name_symbol() const { return nullptr; }
    virtual int field_kind() const { return 1; }
    virtual fkMDATA* field_mval() const { return nullptr; }
    virtual TYPE* field_csu() const { return nullptr; }
    virtual uint32_t icon_uvalue() const { return 0; }
    virtual int32_t icon_svalue() const { return 0; }
    virtual const char* lcon_value() { return "0"; } // shared buffer, valid until the next call
    virtual const char* fcon_value() { return "0"; } // kept with the node
    virtual const char* scon_value() const { return ""; }
    virtual uint32_t scon_length() const { return 0; }
    virtual int32_t label_id() const { return 0; }
    virtual int32_t vreg_id() const { return 0; }
    virtual uint32_t skip_count() const { return 0; }
    virtual uint32_t case_count() const { return 0; }
    virtual uint32_t ddnode_id() const { return 0; }
    virtual uint32_t ddnode_locale() const { return 0; }
    virtual uint8_t ddnode_flags() const { return 0; }
    virtual uint32_t call_num_vargs() const { return 0; }
    virtual const char* icall_name() const { return ""; }
    virtual uint32_t eh_entry_id() const { return 0; }
    virtual uint32_t get_edge_profile_value() const { return UINT32_MAX; }
    virtual void set_edge_profile_value(uint32_t) {}

    // Factories: fill a node just made by new_node(op, type) from the fields of its record.
    virtual void mk_name(SYMTAB*) {}
    virtual void mk_field(int /*kind*/, fkMDATA*, TYPE* /*csu*/) {}
    virtual void mk_icon(INT65) {}
    virtual void mk_lcon(const char* /*text*/) {}
    virtual void mk_fcon(const char* /*text*/) {}
    virtual void mk_scon(const char* /*bytes*/, uint32_t /*count*/) {}
    virtual void mk_label(uint32_t) {}
    virtual void mk_vreg(int32_t) {}
    virtual void mk_skip(uint32_t) {}
    virtual void mk_switch(uint32_t) {}
    virtual void mk_ddnode(uint32_t /*id*/, uint32_t /*locale*/, uint8_t /*flags*/) {}
    virtual void mk_call(uint32_t /*extra arguments*/, uint32_t /*exception entry*/) {}
    virtual void mk_ucall(uint32_t /*exception entry*/) {}
    virtual void mk_icall(const char* /*name*/) {}

    virtual ~BASE_NODE() = default;
};

// Record of a DDNODE: a mark of the dependence passes on a memory reference.
struct DDREC {
    DDREC* next = nullptr;
    NODE* owner = nullptr;
    NODE* tree = nullptr; // owned
    uint16_t id = 0;
};

// What few nodes carry; made on first use and owned by the node.
struct NODE_EXT {
    double probability = -1.0; // of a label reference; -1.0 if unknown
    void* ssa[3] = {};         // of the SSA passes; the second is the argument list of an SSA_PHI
    void* dval = nullptr;      // data-dependence datum of a memory reference
    int depnum = 0;
    PTENV* ptenv = nullptr;
    void* scratch[2] = {}; // of the running pass; cleared on copy
    void* word = nullptr;
    FUNINFO* owner = nullptr; // calls: the function whose body the call was read in
    uint32_t call_index = 0;  // calls: number of the call in its owner, from 1
    uint32_t integration_depth = 0;
};

// Bit of NODE::flags. Signed arithmetic that stands in the source never overflows (C leaves that undefined): the reader
// marks such nodes. A pass may keep the mark only on a node that computes the same mathematical value of the same
// operands; whatever recombines operands makes a node without it.
constexpr uint8_t NODE_NO_WRAP = 2;

struct NODE final : BASE_NODE {
    int32_t op;                               // opcode; ILLOP in an erased node
    uint32_t edge_profile_value = UINT32_MAX; // all ones if unknown
    TYPE* type;                               // result type
    NODE* left = nullptr;                     // first operand, or null
    NODE* right = nullptr;                    // second operand, or null
    union U {
        INT65 lval;       // ICON: value. LABEL, LABELDEF: label number. SCON: count of characters. SKIP: count of
                          // 16-bit units. SWITCH: count of CASEs. CALL: extra arguments. ASM: record id (36, 47)
        void* rval;       // as one of the members below
        SYMTAB* sym;      // NAME; STASG: the target's symbol, if it is a NAME
        simul_fval* fval; // FCON: the value, owned
        char* name;       // ICALL, UICALL, MCALL, UMCALL: the builtin's name, owned
        TYPE* csu;        // FIELD: the struct type
        struct {
            INT65 extra_arguments; // the same word as lval
            uint32_t eht_id;       // entry of the exception table, 0 if none
        } call;                    // CALL, UCALL
        U() : call() {}
    } u;
    union {
        void* p = nullptr;
        fkMDATA* mval;  // FIELD: the member
        char* text;     // SCON: the characters, one byte each, owned (new[]). FCON: cached text form, owned, null
                        // until asked. ASM: the text, owned
        LBL* lbl;       // LABEL, LABELDEF: the label's record, null before blocks exist
        PRAGMA* pragma; // PPRAGMA: the record, owned
        DDREC* dd;      // DDNODE: the record, owned
    };
    LS* scope = nullptr;     // lexical scope of the expression
    TYPE* orig_type;         // the type before normalisation; set to `type` at creation and left alone
    NODE_EXT* ext = nullptr; // rare fields, null until one is set; see extra()
    uint16_t mark[3] = {};   // scratch marks; the first is cleared on copy
    uint8_t flags = 0;       // bits 0 and 1 (NODE_NO_WRAP) are copied, the others are not
    int8_t hint = 0;         // LABEL under an IF: branch hint -1, 0 or 1

    NODE(int opcode, TYPE* t) : op(opcode), type(t), orig_type(t) {}
    NODE(const NODE&) = delete;
    NODE& operator=(const NODE&) = delete;
    ~NODE() override;

    NODE_EXT& extra(); // the rare fields, made if absent
    double probability() const { return ext != nullptr ? ext->probability : -1.0; }
    void set_probability(double p_taken);

    SYMTAB* name_symbol() const override { return u.sym; }
    fkMDATA* field_mval() const override { return mval; }
    TYPE* field_csu() const override { return u.csu; }
    uint32_t icon_uvalue() const override { return u.lval.low; }
    int32_t icon_svalue() const override { return static_cast<int32_t>(u.lval.low); }
    const char* lcon_value() override;
    const char* fcon_value() override;
    const char* scon_value() const override { return text; }
    uint32_t scon_length() const override { return u.lval.low; }
    int32_t label_id() const override { return static_cast<int32_t>(u.lval.low); }
    uint32_t skip_count() const override { return u.lval.low; }
    uint32_t case_count() const override { return u.lval.low; }
    uint32_t ddnode_id() const override { return dd != nullptr ? dd->id : 0; }
    uint32_t call_num_vargs() const override { return u.lval.low; }
    const char* icall_name() const override { return u.name; }
    uint32_t eh_entry_id() const override { return u.call.eht_id; }
    uint32_t get_edge_profile_value() const override { return edge_profile_value; }
    void set_edge_profile_value(uint32_t v) override { edge_profile_value = v; }

    void mk_name(SYMTAB*) override;
    void mk_field(int kind, fkMDATA*, TYPE* csu) override;
    void mk_icon(INT65) override;               // sign-extended when the type is signed, else zero-extended
    void mk_lcon(const char* decimal) override; // becomes an ICON, truncated to its type
    void mk_fcon(const char* number) override;  // decimal or C hexadecimal text, Inf, NaN; rounded to the type
    void mk_scon(const char* bytes, uint32_t count) override;
    void mk_label(uint32_t number) override;
    void mk_skip(uint32_t units) override;
    void mk_switch(uint32_t cases) override;
    void mk_call(uint32_t extra_arguments, uint32_t exception_entry) override;
    void mk_ucall(uint32_t exception_entry) override;
    void mk_icall(const char* builtin) override;

    static void* operator new(size_t);
    static void operator delete(void*);
};

// What the icode reader uses: a node with everything but `op` and `type` at its default. An SCONV to an enum takes the
// enum's underlying type.
NODE* new_node(int op, TYPE* type);

// What passes use. SCONV, PCONV and ACONV take the type without its qualifiers.
NODE* maketree(int op, NODE* left, NODE* right, TYPE* type, LS* scope = nullptr);
// The same, with u.rval set to `sym` if it is given, else u.lval to `value`.
NODE* mktree(int op, NODE* left, NODE* right, TYPE* type, SYMTAB* sym, INT65 value);

// One statement of a singly linked list.
struct LIST {
    NODE* first;           // the statement, owned
    PSN* psn;              // its source position, or null; not owned
    LIST* rest;            // next cell
    uint16_t mark[2] = {}; // set by mklist

    LIST(NODE* stmt, PSN* position, LIST* next) : first(stmt), psn(position), rest(next) {}
    static void* operator new(size_t);
    static void operator delete(void*);
};

LIST* mklist(NODE* stmt, LIST* rest, int mark0, int mark1);
LIST* mkelist(NODE* stmt, LIST* rest, PSN* psn);
LIST* append_node_to_list(NODE* stmt, LIST* list, PSN* psn); // appends; returns the head
LIST* reverse_list(LIST* list);                              // in place; returns the new head

// Copies (ir/copy). A copy has no scope unless `keep_scope`, and no scratch data.
NODE* copy_node(const NODE* node, bool keep_scope = true); // the node alone, with the same operands
NODE* copy_tree(const NODE* tree, bool keep_scope = true);
NODE* copy_dd_node(const NODE* node, bool keep_scope = true);
NODE* copy_dd_tree(const NODE* tree, bool keep_scope = true);
LIST* copy_statements(const LIST* list, bool keep_scope = true);
LIST* copy_dd_statements(const LIST* list, bool keep_scope = true);
LIST* copy_shared_statements(const LIST* list); // new cells, the same trees
// `node` itself if both operands are its own already, else a copy of it with the operands given.
NODE* copy_node_if_changed(NODE* node, NODE* left, NODE* right);

// Erasing (ir/erase). Reaching a node that is erased already ends the run.
NODE* erase_tree(NODE* tree);                          // the tree with all that it owns; returns null
void erase_node(NODE* node);                           // the node alone
LIST* erase_tree_list(LIST* list);                     // cells and trees; returns null
LIST* erase_tree_list_only(LIST* list);                // the cells alone; returns null
LIST* erase_tree_list_to_entry(LIST* list, LIST* end); // cells and trees in front of `end`; returns `end`
[[noreturn]] void erase_dag(NODE* tree);               // exists only to fail: a shared tree is never freed this way

// Number of nodes of the tree, counted no further than `limit`.
int count_nodes_in_tree(const NODE* tree, int limit = INT32_MAX);

#endif
