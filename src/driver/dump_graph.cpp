#include "driver/dump_graph.h"

#include "driver/debug_switches.h"
#include "driver/filename.h"
#include "driver/open_files.h"
#include "driver/safealloc.h"
#include "ir/funinfo.h"
#include "ir/infix.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

constexpr size_t longest_statement = 80;  // characters shown of one
constexpr size_t most_statements = 40;    // shown of one block
constexpr size_t longest_file_part = 150; // characters of a function's name in a file's

// ------------------------------------------------------------------------------------------------------------- files

bool is_plain(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$';
}

// A function's name as part of a file's: any other character than letters, digits, _ and $ as %XX. A long one is cut
// and told apart by the function's number.
std::string file_part(const FUNINFO* f, const char* name) {
    std::string part;
    char code[16];
    for (const char* c = name; *c != 0; c++) {
        if (is_plain(static_cast<unsigned char>(*c))) {
            part += *c;
            continue;
        }
        snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(*c));
        part += code;
    }
    if (part.size() <= longest_file_part) return part;
    snprintf(code, sizeof code, "%%%u", f->number);
    return part.substr(0, longest_file_part) + code;
}

void cannot_write(const std::string& name) {
    fprintf(stderr, "\n>> Cannot Write Graph File, %s : %s, Aborting\n", strerror(errno), name.c_str());
    end_run(1);
}

void write_file(const std::string& name, const std::string& text) {
    FILE* file = fopen(name.c_str(), "w");
    if (file == nullptr) return cannot_write(name);
    bool good = fwrite(text.data(), 1, text.size(), file) == text.size();
    if (fclose(file) != 0 || !good) cannot_write(name);
}

// -------------------------------------------------------------------------------------------------------------- texts

// Inside quotes; bytes that are no printable ASCII as \xXX, so that the file is correct in every encoding.
std::string quoted(const std::string& text) {
    std::string all;
    for (char c : text) {
        if (c == '"' || c == '\\') all += '\\';
        if (c >= ' ' && c <= '~') {
            all += c;
            continue;
        }
        char code[8];
        snprintf(code, sizeof code, "\\\\x%02X", static_cast<unsigned char>(c));
        all += code;
    }
    return all;
}

std::string graph_head(const std::string& title) {
    return "digraph \"" + quoted(title) + "\" {\n    graph [label=\"" + quoted(title) +
           "\", labelloc=t, fontname=\"monospace\"];\n    node [shape=box, fontname=\"monospace\", fontsize=10];\n"
           "    edge [fontname=\"monospace\", fontsize=9];\n";
}

std::string block_id(const BBLK* bb) { return "b" + std::to_string(bb->serial); }

std::string block_text(const BBLK* bb) {
    std::string text = "BB" + std::to_string(bb->dfn);
    for (const LBL* label = bb->labels; label != nullptr; label = label->next) text += " " + label2infix(label);
    if (bb->loop_depth != 0) text += "  (loop depth " + std::to_string(bb->loop_depth) + ")";
    text = quoted(text) + "\\l";
    size_t shown = 0, hidden = 0;
    for (const LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
        if (shown < most_statements) {
            text += quoted(stmt2infix(cell->first, longest_statement)) + "\\l";
            shown++;
        } else
            hidden++;
    if (hidden != 0) text += "(" + std::to_string(hidden) + " more)\\l";
    return text;
}

// The edges that close a loop: to a block on the path by which a walk in depth from the entry came.
class BACK_EDGES {
  public:
    explicit BACK_EDGES(const FUNINFO& f) : state_(f.blocks.size(), UNSEEN) {
        std::vector<STEP> path;
        enter(f.bb_list, path);
        while (!path.empty()) {
            STEP& at = path.back();
            if (at.next == nullptr) {
                state_[at.bb->serial] = DONE;
                path.pop_back();
                continue;
            }
            const EDGE* e = at.next;
            at.next = e->next;
            if (state_[e->bb->serial] == ON_PATH) found_.insert(e);
            if (state_[e->bb->serial] == UNSEEN) enter(e->bb, path);
        }
    }
    bool holds(const EDGE* e) const { return found_.count(e) != 0; }

  private:
    enum STATE : char { UNSEEN, ON_PATH, DONE };
    struct STEP {
        const BBLK* bb;
        const EDGE* next;
    };
    void enter(const BBLK* bb, std::vector<STEP>& path) {
        state_[bb->serial] = ON_PATH;
        path.push_back({bb, bb->succs});
    }
    std::vector<STATE> state_;              // by serial number
    std::unordered_set<const EDGE*> found_; // look-up only
};

std::string edge_text(const BBLK* from, const EDGE* e, bool closes_loop) {
    std::string attributes;
    char probability[32];
    snprintf(probability, sizeof probability, "label=\"%.2f\"", e->probability);
    if (e->probability >= 0) attributes = probability;
    if (closes_loop) attributes += std::string(attributes.empty() ? "" : ", ") + "style=dashed";
    return "    " + block_id(from) + " -> " + block_id(e->bb) + (attributes.empty() ? "" : " [" + attributes + "]") +
           ";\n";
}

} // namespace

void dump_flow_graph(int step) {
    int wanted = pass_debug_dot;
    if (wanted == 0 || step != wanted || currfunc == nullptr || currfuninfo == nullptr) return;
    if (currfuninfo->bb_list == nullptr) return;
    BACK_EDGES back(*currfuninfo);
    std::string text = graph_head(std::string(currfunc->name) + ": " + currfunc->otype->print());
    for (const BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) {
        bool is_end = bb == currfuninfo->bb_list || bb == currfuninfo->exit_block;
        text += "    " + block_id(bb) + " [label=\"" + block_text(bb) + "\"" + (is_end ? ", penwidth=2" : "") + "];\n";
        for (const EDGE* e = bb->succs; e != nullptr; e = e->next) text += edge_text(bb, e, back.holds(e));
    }
    write_file(fn_delext(i_file_name) + "_" + file_part(currfuninfo, currfunc->name) + ".dot", text + "}\n");
}

// --------------------------------------------------------------------------------------------------------- call graph

namespace {

struct CALLS {
    std::vector<std::string> callees; // in order of the first call; "" stands for calls through pointers
    std::map<std::string, unsigned> counts;

    void add(const std::string& callee) {
        if (counts[callee]++ == 0) callees.push_back(callee);
    }
};

std::string callee_of(const NODE* call) {
    const NODE* callee = call->left;
    if (callee != nullptr && callee->op == UAND) callee = callee->left;
    bool named = callee != nullptr && callee->op == NAME && callee->u.sym != nullptr && callee->u.sym->otype->is_func();
    return named ? callee->u.sym->name : "";
}

void add_calls(const LIST* list, CALLS& calls) {
    std::vector<const NODE*> waiting;
    for (const LIST* cell = list; cell != nullptr; cell = cell->rest) {
        waiting.push_back(cell->first);
        while (!waiting.empty()) {
            const NODE* node = waiting.back();
            waiting.pop_back();
            if (node == nullptr) continue;
            if (opcode_is_call(node->op)) calls.add(callee_of(node));
            if (node->op != CSE_DUPE) waiting.push_back(node->right);
            waiting.push_back(node->left);
        }
    }
}

CALLS calls_of(const FUNINFO* f) {
    CALLS calls;
    for (const BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink) add_calls(bb->stmts, calls);
    if (f->bb_list == nullptr) add_calls(f->statements, calls);
    return calls;
}

} // namespace

void dump_call_graph() {
    if (!dump_ocg_in_GDL) return;
    std::map<std::string, unsigned> numbers; // of the functions, in order of appearance
    std::string nodes, edges;
    auto number_of = [&](const std::string& name, const char* style) {
        auto [at, is_new] = numbers.emplace(name, static_cast<unsigned>(numbers.size()));
        if (is_new)
            nodes += "    f" + std::to_string(at->second) + " [label=\"" +
                     (name.empty() ? "(through a pointer)" : quoted(name)) + "\"" + style + "];\n";
        return "f" + std::to_string(at->second);
    };
    for (const SYMTAB* f : functions) number_of(f->name, "");
    for (const SYMTAB* f : functions) {
        const FUNINFO* info = find_FUNINFO_for_symbol(f);
        if (info == nullptr) continue;
        CALLS calls = calls_of(info);
        for (const std::string& callee : calls.callees) {
            std::string to = number_of(callee, ", style=dashed"); // no body here
            unsigned count = calls.counts[callee];
            edges += "    " + number_of(f->name, "") + " -> " + to +
                     (count > 1 ? " [label=\"" + std::to_string(count) + "\"]" : "") + ";\n";
        }
    }
    write_file(fn_delext(i_file_name) + ".calls.dot", graph_head("calls") + nodes + edges + "}\n");
}
