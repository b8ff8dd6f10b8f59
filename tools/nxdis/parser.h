// The state of one parse(): internal to the library.
#ifndef NXTEXT_PARSER_H
#define NXTEXT_PARSER_H

#include "lexer.h"
#include "natural.h"
#include "printer.h"
#include "text.h"

#include <map>

namespace nxtext {

struct PARSER : TYPE_SOURCE {
    std::string name; // of the text
    LEXER lex;
    DOCUMENT doc;
    TYPE_TABLE table;
    SCOPE scope{doc};
    uint32_t current_file = 0;
    bool model_chosen = false;             // the basic types stand, or are not wanted
    std::map<std::string, size_t> forward; // structs declared only, by key: index of their record

    // the function in work
    enum { OUTSIDE, ARGS, LOCALS, BODY } state = OUTSIDE;
    size_t held_from = 0; // body index from which on items may belong behind the records not yet written
    bool held = false;
    bool prolog = false;            // to be made at the first statement
    std::vector<TOKEN> open_blocks; // of the function and its blocks, for messages

    // the tree in work
    TREE tree;
    std::vector<std::pair<int, int>> node_places; // line and column of each node
    int depth = 0;
    int type_depth = 0;

    PARSER(const std::string& text, const std::string& text_name) : TYPE_SOURCE(table), name(text_name), lex(text) {}

    DOCUMENT run();

    // words
    [[noreturn]] static void fail(const TOKEN& t, const std::string& what) { throw text_fault(t.line, t.column, what); }
    [[noreturn]] void expected(const std::string& what);
    bool at_punct(const char* p, size_t k = 0) { return lex.peek(k).kind == TOKEN::PUNCT && lex.peek(k).text == p; }
    bool at_directive(const char* d) { return lex.peek().kind == TOKEN::DIRECTIVE && lex.peek().text == d; }
    bool at_word(const char* w, size_t k = 0) { return lex.peek(k).kind == TOKEN::WORD && lex.peek(k).text == w; }
    bool take_punct(const char* p) { return at_punct(p) && (lex.next(), true); }
    bool take_word(const char* w) { return at_word(w) && (lex.next(), true); }
    void need_punct(const char* p) {
        if (!take_punct(p)) expected(std::string("'") + p + "'");
    }
    void need_word(const char* w) {
        if (!take_word(w)) expected(std::string("'") + w + "'");
    }
    void end_of_line();
    void skip_newlines() {
        while (lex.peek().kind == TOKEN::NEWLINE) lex.next();
    }
    uint32_t number(); // 32 bits
    int64_t signed_number(int64_t low, int64_t high);
    uint32_t label();
    std::string string();    // no zero inside
    std::string name_word(); // a name, quoted or not
    POS position();          // 0 if none stands there
    uint32_t file_index(const std::string&);

    // parse_type
    struct PENDING { // a type named by its structure, perhaps not made yet
        uint32_t ref = 0;
        std::string key;
        TYPE_REC rec;
        std::vector<uint32_t> params;
    };
    void prelude();
    bool at_type();
    uint32_t type() { return resolve(pending_type(false)); }
    PENDING pending_type(bool defining);
    PENDING base_type(bool defining);
    PENDING function_type(uint32_t result);
    PENDING array_type(PENDING element);
    uint32_t resolve(PENDING&&);
    void append(TYPE_REC);
    void append_pending(PENDING&, uint32_t ref);
    void type_line();
    void type_attributes(PENDING&);
    void record_line();
    void list_block(uint8_t kind);
    void struct_definition();
    void enum_definition();
    struct MEMBER_TEXT {
        std::string name;
        uint32_t type, bits;
        bool bitfield, placed;
        int64_t at;
        POS pos;
    };
    std::vector<MEMBER_TEXT> member_lines();
    bool type_directive(const std::string& word);
    uint32_t pointer_to(uint32_t t) override;
    uint32_t qualified(uint32_t t, uint32_t bits) override;

    // parse_symbol
    void global_line();
    void init_line(bool in_body);
    std::vector<TREE> initialiser_list(uint32_t symbol_type);
    SYMBOL_REC symbol(uint8_t sclass, bool parameter);
    void symbol_attributes(SYMBOL_REC&, bool& size_given, bool& align_given);
    PRAGMA_REC pragma_words();

    // parse_body
    void top_level();
    void header_line(const TOKEN&);
    bool item_directive(const TOKEN&);
    void function();
    void function_line();
    void statement();
    void switch_statement(ITEM&);
    void emit(ITEM&&);
    void emit_simple(int id, POS pos = {});
    void close_header(bool locals_too);
    void make_prolog();
    void declare(SYMBOL_REC);
    void eht_block();

    // parse_expr
    TREE finish_tree(int root);
    int top(uint32_t expect);
    int operand(uint32_t expect);
    int primary(uint32_t expect);
    int postfix(int n);
    int infix_here(size_t& words);
    int literal(bool negative, uint32_t expect);
    int named(uint32_t expect);
    int symbol_node(const TOKEN&);
    int functional(int op, const TOKEN&, uint32_t expect);
    int call_rest(const TOKEN& start, int callee, bool first);
    int direct_call(const TOKEN& start);
    int chain(int op, const std::vector<int>& elements, const TOKEN& start);
    int node(int op, const TOKEN& start, int left = -1, int right = -1);
    void settle(int n);
    void give_type(int n, uint32_t expect); // the suffix, or the natural type
    bool take_suffix(uint32_t& type);
    ENODE& at(int n) { return tree[n]; }
};

} // namespace nxtext

#endif
