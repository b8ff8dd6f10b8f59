// The icode file: I_FILE reads one or writes one, IF_CLIENT receives what is read.
//
// docs/icode.md says what every record and opcode means. An I_FILE is opened for one direction only. This floor decodes
// and encodes; it knows nothing of optimisation. Whatever is wrong with an input ends the run with a text that says
// what, and where in the file.
#ifndef ICODE_IF_H
#define ICODE_IF_H

#include "ir/int65.h"
#include "ir/pragma.h"
#include "ir/psn.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

struct NODE;
struct BASE_NODE;
struct LIST;
struct SYMTAB;
struct TYPE;
struct TYPE_PKG;
struct fkMDATA;
struct fkPARAM;
struct I_FILE;

enum RECORD_ID : int {
#define RECORD(id, name, text) name = id,
#include "icode/records.def"
};

constexpr int icode_version = -73;     // what is written
constexpr int icode_version_min = -86; // oldest accepted
constexpr int icode_cpu_id = 1000;

// ------------------------------------------------------------------------------------------------ what records carry

struct OPTION_SET {
    uint32_t number = 0;
    std::vector<std::string> strings;
};

// ------------------------------------------------------------------------------------------------------ the client

// Receives the records in the order of the file. The defaults do nothing. Ownership of trees, positions, pragmas and
// lists passes to the client.
struct IF_CLIENT {
    virtual ~IF_CLIENT() = default;
    virtual bool cl_magic(int /*version*/, int /*cpu id*/) { return true; }
    virtual void cl_option_set(uint32_t /*number*/, const std::vector<std::string>&) {}
    // Must give a symbol.
    virtual SYMTAB* cl_symbol_create(const char* name, TYPE* type, TYPE* type2, uint32_t size, uint32_t aln,
                                     uint32_t offset, uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t position,
                                     uint32_t option_set) = 0;
    virtual void cl_pragma(SYMTAB* /*or null*/, PRAGMA*) {}
    virtual void cl_symbol_init(SYMTAB*, EXPR_LIST*) {}
    virtual void cl_symbol_def(SYMTAB*) {}
    virtual void cl_expr(NODE*, PSN*) {}
    virtual void cl_begin_func(SYMTAB*, PSN*) {}
    virtual void cl_end_args(PSN*) {}
    virtual void cl_end_locals(PSN*) {}
    virtual void cl_begin_block(PSN*) {}
    virtual void cl_end_block(PSN*) {}
    virtual void cl_source(const char*) {}
    virtual void cl_label(uint32_t /*number*/) {}
    virtual void cl_inline_asm(const char*, PSN*) {}
    virtual void cl_comment(const char*) {}
    virtual void cl_merge_type_defs() {}
    virtual void cl_preprocess_statics() {}
    virtual void cl_func_info(int) {}
    virtual bool cl_func_eht(std::vector<EHT_ENTRY>&) { return true; } // true: the reader keeps the table
    virtual void cl_loop_def(const uint32_t[5], int /*flags*/) {}
    virtual void cl_loop_header(uint32_t, int32_t, int32_t, int) {}
    virtual void cl_dd_vector(uint32_t, int, const std::vector<std::pair<int, int>>&) {}
    virtual void cl_dd_edge(uint32_t, uint32_t, uint32_t) {}
    virtual void cl_mbank(const uint32_t[5]) {}
    virtual void cl_ldspec_induct() {}
    virtual void cl_ldspec_rand() {}
    virtual void cl_ldspec_region() {}
    virtual void cl_ir_begin_func() {}
    virtual void cl_ir_end_func() {}
    virtual void cl_ir_ins(PSN*) {}
    virtual void cl_end_func(PSN*) {}
};

// ------------------------------------------------------------------------------------------------------ the file

// While reading: the type of a typeref, and how many of its lists are still to be closed.
struct TYPE_INFO {
    TYPE* type = nullptr;
    int open_lists = 0;
};

struct I_FILE {
    std::string version_text; // producer text of the magic record
    FILE* stream = nullptr;   // owned from if_open / if_create on
    long base = 0;            // position of the magic record in the stream
    bool writing = false;
    IF_CLIENT* client = nullptr; // reading
    int version = icode_version;
    uint32_t reserved = 0;
    uint32_t option_offset = 0; // of the sections, from `base`; 0 if absent
    uint32_t init_offset = 0;
    uint32_t type_offset = 0;
    uint32_t file_offset = 0;
    uint32_t global_offset = 0;
    TYPE_PKG* types = nullptr;
    std::vector<OPTION_SET> option_sets;                     // writing: queued for the option section
    std::vector<TYPE_INFO> type_map;                         // reading: by typeref
    std::unordered_map<uint32_t, TYPE_INFO> sparse_type_map; // reading: typerefs beyond the dense part
    std::vector<const char*> files{nullptr};                 // file names (shared text) by index; index 0 is not used
    std::unordered_map<std::string, uint32_t> file_index;    // writing: index of each name
    const char* last_file = nullptr;                         // writing: the name entered last, and its index
    uint32_t last_file_id = 0;
    int block_depth = 0;         // 0 outside functions, 1 in the parameters, 2 after the locals began, then one a block
    std::vector<SYMTAB*> locals; // of the function that is read or written
    std::vector<SYMTAB*> globals;
    bool in_type_section = false; // reading: aggregates may name one another before their lists are read
    bool body_closed = false;     // writing: the body's end was written by the first initialiser

    // ---- lifetime
    int if_close(bool mark_all,
                 bool leave_bare); // ends the file (writer: all sections); frees the object; 0 on success
    void if_discard();             // closes the stream and frees the object, writing nothing more
    long if_tell() const;          // position from `base`
    void if_seek(long position);
    void if_flush();

    // ---- fields, reading. At the end of the file each gives 0, and at_end() is true from then on.
    void i_read_header(int& id, uint32_t& size); // id 255 at the end of the file
    void i_read_skip(uint32_t n);
    uint8_t i_read_u8();
    int8_t i_read_s8();
    bool i_read_bool();
    uint16_t i_read_u16();
    int16_t i_read_s16();
    uint32_t i_read_u32();
    int32_t i_read_s32();
    uint32_t i_read_uint();
    int32_t i_read_sint();
    void i_read_raw(void* to, uint32_t n);
    const char* i_read_string(uint32_t n = 0); // 0: zero-terminated; else n bytes. Shared buffer, until the next call
    PSN* i_read_psn();
    bool at_end() const { return hit_end; }

    // ---- fields, writing: into the record buffer, until i_flush(id) issues the record
    void i_write_i8(int v);
    void i_write_bool(bool v) { i_write_i8(v ? 1 : 0); }
    void i_write_i16(int v);
    void i_write_i32(uint32_t v);
    void i_write_uint(uint32_t v);
    void i_write_sint(int32_t v);
    void i_write_raw(const void* from, uint32_t n);
    void i_write_string(const char* s, uint32_t n = 0); // 0: with its terminator; else n bytes
    void i_write_typeref(TYPE*);                        // marks the type as referenced
    void i_write_psn(const PSN*);
    void i_write_eof();
    void i_flush(int id);

    uint32_t i_enter_file_name(const char* name);
    const char* i_get_file_name(uint32_t index) const; // null for 0 and beyond the table
    uint32_t i_get_file_id(const char* name) const;    // 0 if absent

    // ---- symbols number themselves through the file
    void if_enter_global(SYMTAB*);
    void if_enter_local(SYMTAB*);

    // ---- reading records (if_read)
    void if_read_file();
    void if_read_func(long position);
    bool if_read_record(); // one step of the dispatch; false at the end of the section
    void if_skip_func();
    NODE* if_read_expr_node(bool with_header);
    void if_read_file_names();
    void if_read_globals();
    void if_read_all_init();
    void if_read_init();
    void if_read_options();
    void if_read_option_set();
    SYMTAB* if_read_sym(); // the record, then its pragmas
    void if_read_pragma(SYMTAB*);
    void if_read_eht();
    void if_read_eht_entry(EHT_ENTRY&);
    SYMTAB* if_read_global_index(); // index of a global; must be in the table

    // ---- reading types (if_type)
    void if_type_init(TYPE_PKG*); // the package that takes the types
    void if_read_type_defs();
    void if_read_type();
    void if_merge_type_defs();
    TYPE* find_typeref(uint32_t n); // null for 0
    fkMDATA* find_mdataref(uint32_t typeref, uint32_t member_id);
    void enter_type(uint32_t n, TYPE_INFO);
    TYPE_INFO* type_info(uint32_t n); // the entry, or null
    void if_types_read();             // end of the type section: closes what is open, adopts basic types

    // ---- writing records (if_write)
    void if_enter_option_set(uint32_t number, const std::vector<std::string>&); // queued for the option section
    void if_write_magic();
    void if_write_option_set(const OPTION_SET&);
    void if_write_label(uint32_t number);
    void if_write_assembly(const char* text, const PSN*);
    void if_write_source(const char* text);
    void if_write_comment(const char* text);
    void if_write_pragma(const PRAGMA*);
    void if_write_func_info(int value);
    void if_write_symbol(SYMTAB*);                 // with its pragmas
    void if_write_init(SYMTAB*);                   // the record; the initialiser's nodes follow it
    void if_write_control(int id, const PSN*);     // ids 2 to 6
    void if_write_begin_func(SYMTAB*, const PSN*); // also starts the function's table of locals, depth 1
    void if_write_end_func(const PSN*);
    void if_write_begin_block(const PSN*);
    void if_write_end_block(const PSN*);
    void if_write_end_args(const PSN*); // depth 2
    void if_write_end_locals(const PSN*);
    void if_write_loop(const uint32_t[5], int flags);
    void if_write_inloop(uint32_t id, int32_t scope, int32_t index, int flag);
    void if_write_dep_vector(uint32_t id, int kind, const std::vector<std::pair<int, int>>&);
    void if_write_dep_edge(uint32_t from, uint32_t to, uint32_t kind);
    void if_write_mbank(const uint32_t[5]);
    void if_write_ldspec_induct(uint32_t id, uint32_t a, int32_t step, TYPE*, const SYMTAB*);
    void if_write_ldspec_rand(uint32_t id, uint32_t a, uint32_t b, TYPE*, const SYMTAB*);
    void if_write_ldspec_region(uint32_t id, uint32_t a);
    void if_write_func_eht(const EHT_ENTRY* entries, uint32_t count);
    void if_write_expr(NODE*, const PSN*); // statement record and tree
    void if_write_expr_node(NODE*);        // the tree alone
    void if_write_all_options();
    void if_write_all_files();
    void if_write_all_globals();

    // ---- writing types (if_write_type)
    void if_write_type(TYPE*);
    void if_write_all_types(bool mark_all);
    void if_reference_type(TYPE*); // the type, its descriptor and its stds() will be written
    void write_csu_type(TYPE*);
    void write_csu_type_lists(TYPE*);
    bool write_all_csu_types();
    bool write_type_tree();

    // ---- faults of the input; each ends the run with status 1
    [[noreturn]] void bad_record(); // "Invalid I-code record", with the place on standard error
    [[noreturn]] void bad_eht_record();
    [[noreturn]] void bad_input(const char* what); // "Invalid icode file: <what> at offset <n>" on standard error

    std::vector<char> string_buffer;
    std::vector<uint8_t> buffer; // of the record under construction
    long record_start = 0;       // reading: offset of the record in work, for messages
    int node_depth = 0;          // reading: nesting of the tree in work
    bool hit_end = false;
    long stream_size = 0;       // reading: bytes from `base` to the end
    std::vector<uint8_t> input; // reading: the whole file
    size_t cursor = 0;          // reading: place in it
};

// Opens for reading: checks the magic record, reads the option sets into the client. Null if the file is not an icode
// file that this program reads; the stream is closed then.
I_FILE* if_open(FILE*, IF_CLIENT*);
// Opens for writing and writes the magic record.
I_FILE* if_create(FILE*, TYPE_PKG*, const char* version_text);

// Fills if_node_info (ir/opcodes.h) with the opcodes that a file may hold.
void if_node_table_init();

// What a deep tree may nest at most, operands within operands. A `,` chain or a chain of right operands of any length
// is no nesting.
constexpr int max_node_depth = 5000;

#endif
