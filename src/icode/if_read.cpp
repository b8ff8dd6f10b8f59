// The record reader: turns a file into calls on its client.
//
// A body that runs past the end of the file is found where it matters: when a record has been read, the file must not
// have ended inside it. Trees are read without recursion, so that no nesting in a file can exhaust the stack; a tree
// nested deeper than max_node_depth is refused, since others do recurse.
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <cstring>
#include <exception>
#include <memory>

namespace {

// Goes to a section and back.
class SECTION {
  public:
    SECTION(I_FILE& f, uint32_t offset) : f_(f), back_(f.if_tell()) { f.if_seek(static_cast<long>(offset)); }
    ~SECTION() {
        // The end of the run may come as an exception, and has closed the file then.
        if (std::uncaught_exceptions() == 0) f_.cursor = static_cast<size_t>(back_);
    }
    SECTION(const SECTION&) = delete;
    SECTION& operator=(const SECTION&) = delete;

  private:
    I_FILE& f_;
    long back_;
};

void want_inside(I_FILE& f) {
    if (f.at_end()) f.bad_input("the file ends inside a record");
}

std::vector<std::string> read_strings(I_FILE& f, uint32_t count) {
    std::vector<std::string> strings;
    for (uint32_t i = 0; i < count; i++) {
        strings.emplace_back(f.i_read_string());
        want_inside(f);
    }
    return strings;
}

// The kind of a pragma record that names no symbol of the file is kept; its strings are copied.
PRAGMA* read_pragma_body(I_FILE& f) {
    uint32_t kind = f.i_read_uint();
    uint32_t count = f.i_read_uint();
    return new PRAGMA(kind, read_strings(f, count));
}

// Reads the fields of a node by its opcode. Returns the number of operand trees that follow.
int read_node_fields(I_FILE& f, NODE* node, int op) {
    switch (op) {
    case LABEL: node->mk_label(f.i_read_uint()); return 0;
    case NAME: {
        uint32_t scope = f.i_read_uint();
        uint32_t index = f.i_read_uint();
        if (scope == UINT32_MAX) {
            node->mk_name(nullptr);
            return 0;
        }
        const std::vector<SYMTAB*>& table = scope == 0 ? f.globals : f.locals;
        if (index >= table.size()) f.bad_input("a name's symbol index beyond its table");
        node->mk_name(table[index]);
        return 0;
    }
    case SCON: {
        uint32_t count = f.i_read_uint();
        if (count > f.input.size() - f.cursor) f.bad_input("the file ends inside a string");
        node->mk_scon(count != 0 ? f.i_read_string(count) : "", count);
        return 0;
    }
    case ICON:
        if (node->type != nullptr && node->type->is_signed())
            node->mk_icon(INT65(f.i_read_sint()));
        else
            node->mk_icon(INT65(f.i_read_uint()));
        return 0;
    case FCON: node->mk_fcon(f.i_read_string()); return 0;
    case LCON: {
        const char* text = f.i_read_string();
        INT65 value;
        if (!text_to_int65(text, value)) f.bad_input("a long constant that is no number");
        if (node->type == nullptr) f.bad_input("a constant without a type");
        node->mk_lcon(text);
        return 0;
    }
    case FIELD: {
        int kind = f.i_read_s8();
        uint32_t member = f.i_read_uint();
        uint32_t csu = f.i_read_uint();
        if (kind != 1) f.bad_record();
        fkMDATA* mval = f.find_mdataref(csu, member);
        if (mval == nullptr) f.bad_input("a member that its struct does not have");
        node->mk_field(kind, mval, f.find_typeref(csu));
        return 0;
    }
    case SWITCH: node->mk_switch(f.i_read_uint()); break;
    case CALL: {
        uint32_t extra = f.i_read_uint();
        node->mk_call(extra, f.i_read_uint());
        break;
    }
    case UCALL: node->mk_ucall(f.i_read_uint()); break;
    case EPVAL: node->set_edge_profile_value(f.i_read_uint()); break;
    case SKIP: node->mk_skip(f.i_read_uint()); return 0;
    case DDNODE: {
        uint32_t id = f.i_read_uint();
        uint32_t locale = f.i_read_uint();
        node->mk_ddnode(id, locale, f.i_read_u8());
        break;
    }
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: node->mk_icall(f.i_read_string()); break;
    default: break;
    }
    const IF_NODE_INFO& info = if_node_info[op];
    return info.op == op ? info.operands : 0;
}

} // namespace

NODE* I_FILE::if_read_expr_node(bool with_header) {
    // One entry an open node: the operands still to come, right one last.
    struct OPEN {
        NODE* node;
        int operands, next;
    };
    std::vector<OPEN> open;
    int depth = 0; // open nodes without the cells of lists, which everyone walks in a loop
    for (bool header = with_header;; header = true) {
        if (header) {
            int id;
            uint32_t size;
            i_read_header(id, size);
            if (id != REC_NODE) bad_record();
        }
        int op = i_read_u8();
        uint32_t typeref = i_read_uint();
        // 163 is a register of a lower form, which no tree of this program holds.
        if (op >= FILE_OPCODE_VREG) bad_record();
        NODE* node = new_node(op, find_typeref(typeref));
        int operands = read_node_fields(*this, node, op);
        if (hit_end) bad_input("the file ends inside a tree");
        // Close every node that this one completes.
        while (operands == 0) {
            if (open.empty()) return node;
            OPEN& parent = open.back();
            (parent.next++ == 0 ? parent.node->left : parent.node->right) = node;
            if (parent.next < parent.operands) break;
            node = parent.node;
            operands = 0;
            depth -= node->op != COMMA;
            open.pop_back();
        }
        if (operands == 0) continue;
        open.push_back({node, operands, 0});
        depth += node->op != COMMA;
        if (depth > max_node_depth) bad_input("a tree nested too deep");
    }
}

SYMTAB* I_FILE::if_read_sym() {
    std::string name = i_read_string();
    uint32_t size = i_read_uint();
    uint32_t offset = i_read_uint();
    uint8_t sclass = i_read_u8();
    uint16_t scqual = i_read_u16();
    TYPE* type = find_typeref(i_read_uint());
    TYPE* type2 = find_typeref(i_read_uint());
    uint32_t aln = i_read_uint();
    int pragmas = i_read_u8();
    uint32_t position = i_read_uint();
    uint32_t option_set = i_read_uint();
    PSN* psn = i_read_psn();
    want_inside(*this);
    if (type == nullptr) bad_input("a symbol without a type");
    if (!type->is_func() && size != type->size()) bad_input("a symbol whose size is not that of its type");
    SYMTAB* sym = client->cl_symbol_create(name.c_str(), type, type2, size, aln, offset, sclass, scqual, psn, position,
                                           option_set);
    if (block_depth != 0)
        if_enter_local(sym);
    else
        if_enter_global(sym);
    for (int i = 0; i < pragmas; i++) {
        int id;
        uint32_t record_size;
        i_read_header(id, record_size);
        if (id != REC_PRAGMA) bad_input("a symbol's pragma record is missing");
        if_read_pragma(sym);
    }
    client->cl_symbol_def(sym);
    return sym;
}

void I_FILE::if_read_pragma(SYMTAB* sym) {
    PRAGMA* pragma = read_pragma_body(*this);
    want_inside(*this);
    client->cl_pragma(sym, pragma);
}

SYMTAB* I_FILE::if_read_global_index() {
    uint32_t index = i_read_uint();
    if (index >= globals.size()) bad_input("a global symbol index beyond its table");
    return globals[index];
}

void I_FILE::if_read_init() {
    SYMTAB* sym = if_read_global_index();
    auto list = std::make_unique<EXPR_LIST>();
    do { list->append(if_read_expr_node(true)); } while (list->tail->node->op != ENDINIT);
    if (sym->init != nullptr) bad_input("a second initialiser of one symbol");
    client->cl_symbol_init(sym, list.release());
}

void I_FILE::if_read_eht_entry(EHT_ENTRY& entry) {
    int id;
    uint32_t size;
    i_read_header(id, size);
    if (id != REC_EHT_ENTRY) bad_eht_record();
    entry.id = i_read_uint();
    entry.kind = i_read_uint();
    entry.next = i_read_uint();
    entry.count = i_read_uint();
    want_inside(*this);
    if (entry.kind == EHK_CLEANUP) {
        i_read_header(id, size);
        if (id != REC_STMT) bad_eht_record();
        i_read_psn();
        entry.cleanup = if_read_expr_node(true);
    } else if (entry.kind == EHK_CATCH) {
        i_read_header(id, size);
        if (id != REC_CATCH) bad_eht_record();
        for (uint32_t i = 0; i < entry.count; i++) {
            I_CATCH_ENTRY one;
            one.type_name = i_read_string();
            one.label = static_cast<int32_t>(i_read_uint());
            one.flag = i_read_bool();
            want_inside(*this);
            entry.catches.push_back(std::move(one));
        }
    }
}

void I_FILE::if_read_eht() {
    uint32_t count = i_read_uint();
    std::vector<EHT_ENTRY> entries;
    for (uint32_t i = 0; i < count; i++) if_read_eht_entry(entries.emplace_back());
    bool reader_keeps = client->cl_func_eht(entries);
    if (reader_keeps)
        for (EHT_ENTRY& entry : entries) erase_tree(entry.cleanup);
}

void I_FILE::if_read_option_set() {
    uint32_t number = i_read_uint();
    uint32_t count = i_read_uint();
    std::vector<std::string> strings = read_strings(*this, count);
    client->cl_option_set(number, strings);
}

void I_FILE::if_read_options() {
    SECTION section(*this, option_offset);
    for (;;) {
        int id;
        uint32_t size;
        i_read_header(id, size);
        if (id == REC_EOF) return;
        if (id != REC_OPTION_SET) bad_input("a record that is no option set in the option section");
        if_read_option_set();
    }
}

void I_FILE::if_read_file_names() {
    SECTION section(*this, file_offset);
    for (;;) {
        int id;
        uint32_t size;
        i_read_header(id, size);
        if (id != REC_SOURCE) return;
        i_enter_file_name(i_read_string());
        want_inside(*this);
    }
}

void I_FILE::if_read_type_defs() {
    SECTION section(*this, type_offset);
    in_type_section = true;
    for (;;) {
        int id;
        uint32_t size;
        i_read_header(id, size);
        if (id == REC_EOF) return if_types_read();
        if (id != REC_TYPE) bad_input("a record that is no type in the type section");
        if_read_type();
        want_inside(*this);
    }
}

void I_FILE::if_read_globals() {
    SECTION section(*this, global_offset);
    for (;;) {
        int id;
        uint32_t size;
        i_read_header(id, size);
        if (id == REC_EOF) return;
        if (id != REC_SYMBOL) bad_input("a record that is no symbol in the global symbol section");
        if_read_sym();
    }
}

void I_FILE::if_read_all_init() {
    SECTION section(*this, init_offset);
    for (;;) {
        int id;
        uint32_t size;
        i_read_header(id, size);
        if (id == REC_EOF) return;
        if (id != REC_INIT) bad_input("a record that is no initialiser in the initialiser section");
        if_read_init();
    }
}

void I_FILE::if_read_file() {
    if (file_offset != 0) if_read_file_names();
    if (type_offset != 0) if_read_type_defs();
    client->cl_merge_type_defs();
    if (global_offset != 0) if_read_globals();
    if (init_offset != 0) if_read_all_init();
    client->cl_preprocess_statics();
    while (if_read_record()) {}
    if (block_depth != 0) bad_input("the file ends inside a function");
}

namespace {

// Records that make sense only inside a function.
bool wants_function(int id) {
    switch (id) {
    case REC_END_FUNC:
    case REC_BEGIN_BLOCK:
    case REC_END_BLOCK:
    case REC_END_ARGS:
    case REC_END_LOCALS:
    case REC_LABEL:
    case REC_STMT:
    case REC_EHT: return true;
    default: return false;
    }
}

} // namespace

bool I_FILE::if_read_record() {
    int id;
    uint32_t size;
    i_read_header(id, size);
    size_t start = cursor;
    if (wants_function(id) && block_depth == 0) bad_input("a function's record outside a function");
    switch (id) {
    case REC_EOF: return false;
    case REC_BEGIN_FUNC: {
        if (block_depth != 0) bad_input("a function that begins inside a function");
        PSN* psn = i_read_psn();
        SYMTAB* sym = if_read_global_index();
        want_inside(*this);
        locals.clear();
        client->cl_begin_func(sym, psn);
        block_depth = 1;
        break;
    }
    case REC_END_FUNC:
        client->cl_end_func(i_read_psn());
        block_depth = 0;
        break;
    case REC_BEGIN_BLOCK:
        if (block_depth < 2) bad_input("a block in front of the function's locals");
        client->cl_begin_block(i_read_psn());
        block_depth++;
        break;
    case REC_END_BLOCK:
        if (block_depth <= 2) bad_input("the end of a block that is not open");
        client->cl_end_block(i_read_psn());
        block_depth--;
        break;
    case REC_END_ARGS:
        if (block_depth != 1) bad_input("a second end of the arguments");
        client->cl_end_args(i_read_psn());
        block_depth = 2;
        break;
    case REC_END_LOCALS: client->cl_end_locals(i_read_psn()); break;
    case REC_IR_INS: {
        PSN* psn = i_read_psn();
        cursor = start;
        i_read_skip(size);
        client->cl_ir_ins(psn);
        break;
    }
    case REC_SYMBOL: if_read_sym(); break;
    case REC_ASM: {
        std::string text = i_read_string();
        client->cl_inline_asm(text.c_str(), i_read_psn());
        break;
    }
    case REC_LOOP_DEF: {
        uint32_t field[5];
        for (uint32_t& f : field) f = i_read_uint();
        client->cl_loop_def(field, i_read_s16());
        break;
    }
    case REC_LABEL: client->cl_label(i_read_uint()); break;
    case REC_MBANK: {
        uint32_t field[5];
        for (uint32_t& f : field) f = i_read_uint();
        client->cl_mbank(field);
        break;
    }
    case REC_STMT: {
        PSN* psn = i_read_psn();
        want_inside(*this);
        client->cl_expr(if_read_expr_node(true), psn);
        break;
    }
    case REC_COMMENT: client->cl_comment(i_read_string()); break;
    case REC_DD_EDGE: {
        uint32_t from = i_read_uint(), to = i_read_uint(), kind = i_read_uint();
        client->cl_dd_edge(from, to, kind);
        break;
    }
    case REC_DD_VECTOR: {
        uint32_t vector_id = i_read_uint();
        int kind = i_read_u8();
        std::vector<std::pair<int, int>> pairs(i_read_u8());
        for (auto& [first, second] : pairs) {
            first = i_read_u8();
            second = i_read_s8();
        }
        client->cl_dd_vector(vector_id, kind, pairs);
        break;
    }
    case REC_FUNC_INFO: client->cl_func_info(i_read_s8()); break;
    case REC_EHT: if_read_eht(); break;
    case REC_PRAGMA: if_read_pragma(nullptr); break;
    case REC_NODE: erase_tree(if_read_expr_node(false)); break;
    case REC_INIT: if_read_init(); break;
    case REC_LDSPEC: {
        i_read_uint();
        int kind = i_read_u8();
        i_read_uint();
        if (kind == 0)
            i_read_sint();
        else if (kind == 1)
            i_read_uint();
        if (kind <= 1) {
            i_read_uint();
            i_read_sint();
            i_read_uint();
        }
        if (kind == 0)
            client->cl_ldspec_induct();
        else if (kind == 1)
            client->cl_ldspec_rand();
        else
            client->cl_ldspec_region();
        break;
    }
    case REC_TYPE: if_read_type(); break;
    case REC_IR_BEGIN_FUNC:
        if (block_depth != 0) bad_input("a function that begins inside a function");
        i_read_uint();
        i_read_sint();
        i_read_u8();
        i_read_uint();
        i_read_psn();
        locals.clear();
        client->cl_ir_begin_func();
        block_depth = 1;
        break;
    case REC_LOOP_HEADER: {
        uint32_t loop = i_read_uint();
        int32_t scope = i_read_sint(), index = i_read_sint();
        client->cl_loop_header(loop, scope, index, i_read_u8());
        break;
    }
    case REC_IR_END_FUNC:
        i_read_psn();
        client->cl_ir_end_func();
        block_depth = 0;
        break;
    case REC_SOURCE: client->cl_source(i_read_string()); break;
    default:
        // An unknown record is told and passed over to the next header; its body is not skipped.
        printf("\n///ERROR @0x%lx\n\n", record_start);
        break;
    }
    want_inside(*this);
    return true;
}

void I_FILE::if_read_func(long position) {
    if (position != 0) if_seek(position);
    for (;;) {
        int id = cursor < input.size() ? input[cursor] : static_cast<int>(REC_EOF);
        if (!if_read_record() && at_end()) bad_input("the file ends inside a function");
        if (id == REC_END_FUNC) return;
    }
}

void I_FILE::if_skip_func() {
    for (;;) {
        int id;
        uint32_t size;
        i_read_header(id, size);
        if (at_end()) bad_input("the file ends inside a function");
        i_read_skip(size);
        if (id == REC_END_FUNC) return;
    }
}
