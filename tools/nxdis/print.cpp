// Model to text: the file's frame, symbols and body records.
#include "printer.h"

#include <algorithm>

namespace nxtext {

std::string print(const DOCUMENT& doc, const PRINT_OPTIONS& options) {
    PRINTER p(doc, options);
    p.run();
    return std::move(p.out);
}

void PRINTER::run() {
    header();
    type_records();
    globals();
    for (const ITEM& i : doc.inits) initialiser(i);
    for (const ITEM& i : doc.body) item(i);
    if (scope.function >= 0) throw file_fault(0, "the last function has no end");
}

void PRINTER::header() {
    out += ".icode " + std::to_string(doc.version) + "\n.model none\n";
    if (!doc.producer.empty()) out += ".producer " + quote_string(doc.producer) + "\n";
    if (doc.reserved != 0) out += ".reserved " + std::to_string(doc.reserved) + "\n";
    for (const std::string& f : doc.files) out += ".file " + quote_string(f) + "\n";
    for (const OPTION_SET& set : doc.options) {
        out += ".option_set " + std::to_string(set.number);
        for (const std::string& s : set.strings) out += " " + quote_string(s);
        out += '\n';
    }
}

// ---------------------------------------------------------------------------------------------------------- positions

// " @line:column" in the file named last, or with the file in front.
void PRINTER::position(const POS& p) {
    if (p.file == 0) return;
    out += " @";
    if (p.file != current_file) {
        current_file = p.file;
        const bool named =
            p.file <= doc.files.size() && std::count(doc.files.begin(), doc.files.end(), doc.files[p.file - 1]) == 1;
        out += named ? quote_string(doc.files[p.file - 1]) : "#" + std::to_string(p.file);
        out += ':';
    }
    out += std::to_string(p.line) + ":" + std::to_string(p.column);
}

void PRINTER::show_source(const POS& p) {
    if (!options.source || p.file == 0 || p.file > doc.files.size()) return;
    if (p.file == last_source.file && p.line == last_source.line) return;
    last_source = p;
    const std::string& file = doc.files[p.file - 1];
    const auto [entry, fresh] = source_lines.try_emplace(file);
    if (fresh) {
        std::string text;
        if (read_whole_file(file, text)) {
            size_t from = 0;
            while (from < text.size()) {
                const size_t end = std::min(text.find('\n', from), text.size());
                entry->second.push_back(text.substr(from, end - from));
                from = end + 1;
            }
        }
    }
    if (p.line == 0 || p.line > entry->second.size()) return;
    line();
    out += "; " + std::to_string(p.line) + ": ";
    for (char c : entry->second[p.line - 1]) out += c == '\r' ? ' ' : c;
    out += '\n';
}

// ------------------------------------------------------------------------------------------------------------ symbols

static const char* pragma_name(uint32_t kind) {
    static const char* const names[] = {
#define PRAGMA_KIND(no, name, text) text,
#include "ir/pragmas.def"
    };
    return kind < std::size(names) ? names[kind] : nullptr;
}

void PRINTER::pragma_words(const PRAGMA_REC& p) {
    const char* name = pragma_name(p.kind);
    const bool word = name != nullptr && std::string(name).find(' ') == std::string::npos;
    out += word ? name : std::to_string(p.kind);
    for (const std::string& s : p.strings) out += " " + quote_string(s);
}

void PRINTER::symbol(const SYMBOL_REC& s, bool local) {
    line();
    uint8_t usual = 1;
    if (!local) {
        out += s.sclass == 3 ? "static " : s.sclass == 5 ? "extern " : "global ";
        usual = s.sclass == 3 || s.sclass == 5 ? s.sclass : 2;
    } else if (scope.depth == 1) {
        out += "parm ";
        usual = types.is_csu(s.type) ? 9 : 17;
    } else {
        out += "local ";
    }
    out += quote_name(s.name) + ": " + types.text(s.type);
    const TYPE_FACTS& f = types.facts(s.type);
    const auto field = [&](const char* word, uint32_t value, uint32_t natural) {
        if (value != natural) out += std::string(" ") + word + " " + std::to_string(value);
    };
    field("class", s.sclass, usual);
    if (s.scqual != 0) {
        char text[16];
        snprintf(text, sizeof text, " flags 0x%x", static_cast<unsigned>(s.scqual));
        out += text;
    }
    field("size", s.size, f.size);
    field("offset", s.offset, 0);
    field("align", s.aln, f.kind == TK_FUNCTION ? function_alignment : f.align);
    if (s.type2 != 0) out += " type2 " + types.text(s.type2);
    if (!s.position_here) out += " at " + std::to_string(s.position);
    field("options", s.option_set, 0);
    for (const PRAGMA_REC& p : s.pragmas) {
        out += " pragma(";
        pragma_words(p);
        out += ')';
    }
    position(s.pos);
    out += '\n';
}

void PRINTER::globals() {
    for (const SYMBOL_REC& s : doc.globals) symbol(s, false);
    scope.all_globals();
}

// --------------------------------------------------------------------------------------------------------------- body

static constexpr size_t initialiser_width = 100; // a longer list is broken

void PRINTER::initialiser(const ITEM& i) {
    if (i.number >= doc.globals.size())
        throw file_fault(0, "an initialiser is for global " + std::to_string(i.number) + ", which does not exist");
    line();
    out += i.id == REC_INIT && scope.function < 0 ? ".init " : ".body_init ";
    const SYMBOL_REC& s = doc.globals[i.number];
    SCOPE::PLACE found{};
    out += quote_name(s.name);
    if (!scope.find_global(s.name, found) || found.index != i.number) out += "#g" + std::to_string(i.number);
    uint64_t bit = 0;
    out += " = {";
    size_t line_start = out.rfind('\n') + 1;
    for (size_t k = 0; k < i.list.size(); k++) {
        if (k != 0) out += ',';
        if (out.size() - line_start > initialiser_width) {
            out += "\n   ";
            line_start = out.size() - 3;
        }
        out += ' ';
        const TREE& value = i.list[k];
        top(value, value.root, leaf_type(types, s.type, bit));
        bit += initialiser_step(value[value.root], types);
    }
    out += " }\n";
}

void PRINTER::eht(const ITEM& i) {
    line();
    out += ".eht {\n";
    indent++;
    for (const EHT_REC& e : i.eht) {
        line();
        out += std::to_string(e.id) + " kind " + std::to_string(e.kind) + " next " + std::to_string(e.next);
        if (e.count != e.catches.size()) out += " count " + std::to_string(e.count);
        if (e.kind == EHK_CLEANUP) {
            out += " cleanup ";
            top(e.cleanup, e.cleanup.root, 0);
            position(e.pos);
        }
        for (const CATCH_REC& c : e.catches)
            out +=
                " catch(" + quote_string(c.name) + ", " + std::to_string(c.label) + ", " + std::to_string(c.flag) + ")";
        out += '\n';
    }
    indent--;
    line();
    out += "}\n";
}

void PRINTER::raw(int id, const std::string& bytes) {
    static const char hex[] = "0123456789abcdef";
    line();
    out += ".raw " + std::to_string(id) + " \"";
    for (unsigned char c : bytes) {
        out += hex[c >> 4];
        out += hex[c & 15];
    }
    out += "\"\n";
}

void PRINTER::statement(const ITEM& i) {
    const TREE& t = i.tree;
    line();
    if (t.root < 0) {
        out += "nothing";
        return;
    }
    const int root = t.root;
    const ENODE& e = t[root];
    const auto label = [&](int n) { return t[n].op == LABEL && is_natural(t, n, 0); };
    const bool natural = is_natural(t, root, 0);
    const auto current_name = [&](int n) {
        return t[n].op == NAME && t[n].f[0] == 0 && static_cast<int64_t>(t[n].f[1]) == scope.function &&
               is_natural(t, n, 0);
    };
    if (e.op == BRANCH && natural && label(e.left)) {
        out += "goto L" + std::to_string(t[e.left].f[0]);
    } else if (e.op == CBRANCH && natural && label(e.right)) {
        out += "if !(";
        top(t, e.left, 0);
        out += ") goto L" + std::to_string(t[e.right].f[0]);
    } else if (e.op == RETURN && natural && current_name(e.left)) {
        out += "return ";
        top(t, e.right, e.type);
    } else if (e.op == URETURN && natural && current_name(e.left)) {
        out += "return";
    } else if (e.op == SWITCH && natural) {
        std::vector<int> cells;
        int n = e.right;
        for (; t[n].op == COMMA && is_natural(t, n, 0); n = t[n].left) cells.push_back(t[n].right);
        cells.push_back(n);
        std::reverse(cells.begin(), cells.end());
        uint32_t cases = 0;
        const bool plain = std::all_of(cells.begin(), cells.end(), [&](int c) {
            cases += t[c].op == CASE;
            return (t[c].op == CASE && is_natural(t, c, 0) && label(t[c].right)) ||
                   (t[c].op == DEFAULT && is_natural(t, c, 0) && label(t[c].left));
        });
        if (!plain || cases != e.f[0]) {
            generic(t, root, 0);
            return;
        }
        out += "switch ";
        operand(t, e.left, 0);
        out += " {";
        for (size_t k = 0; k < cells.size(); k++) {
            const ENODE& c = t[cells[k]];
            out += k == 0 ? " " : ", ";
            if (c.op == CASE)
                top(t, c.left, t[e.left].type);
            else
                out += "default";
            out += " => L" + std::to_string(t[c.op == CASE ? c.right : c.left].f[0]);
        }
        out += " }";
    } else if (e.op == LABEL) {
        generic(t, root, 0);
        suffix(t, root, 0);
    } else if (assigns(e.op) && natural) {
        top(t, root, 0);
    } else {
        operand(t, root, 0);
    }
}

void PRINTER::item(const ITEM& i) {
    switch (i.id) {
    case REC_BEGIN_FUNC: {
        if (scope.function >= 0) throw file_fault(0, "a function begins inside another one");
        if (i.number >= doc.globals.size())
            throw file_fault(0, "a function begins for global " + std::to_string(i.number) + ", which does not exist");
        out += '\n';
        show_source(i.pos);
        const std::string& name = doc.globals[i.number].name;
        SCOPE::PLACE found{};
        out += "func " + quote_name(name);
        if (!scope.find_global(name, found) || found.index != i.number) out += "#g" + std::to_string(i.number);
        position(i.pos);
        out += " {\n";
        indent = 1;
        scope.begin_function(i.number);
        return;
    }
    case REC_END_FUNC:
        if (scope.function < 0) throw file_fault(0, "a function ends that has not begun");
        if (scope.in_block()) throw file_fault(0, "a function ends with a block still open");
        scope.end_function();
        indent = 0;
        out += "}";
        position(i.pos);
        out += '\n';
        return;
    case REC_BEGIN_BLOCK:
        line();
        out += '{';
        position(i.pos);
        out += '\n';
        indent++;
        scope.begin_block();
        return;
    case REC_END_BLOCK:
        if (!scope.end_block()) throw file_fault(0, "a block ends that has not begun");
        indent--;
        line();
        out += '}';
        position(i.pos);
        out += '\n';
        return;
    case REC_END_ARGS:
    case REC_END_LOCALS:
        line();
        out += i.id == REC_END_ARGS ? ".args" : ".locals";
        position(i.pos);
        out += '\n';
        if (i.id == REC_END_ARGS) scope.end_args();
        return;
    case REC_SYMBOL:
        if (scope.function < 0) throw file_fault(0, "a symbol stands outside of the functions");
        symbol(*i.symbol, true);
        scope.declare(*i.symbol);
        return;
    case REC_LABEL: out += "L" + std::to_string(i.number) + ":\n"; return;
    case REC_STMT:
        show_source(i.pos);
        statement(i);
        position(i.pos);
        out += '\n';
        return;
    case REC_PRAGMA:
        line();
        out += ".pragma ";
        pragma_words(*i.pragma);
        out += '\n';
        return;
    case REC_ASM:
        line();
        out += ".asm " + quote_string(i.text);
        position(i.pos);
        out += '\n';
        return;
    case REC_COMMENT:
    case REC_SOURCE:
        line();
        out += (i.id == REC_COMMENT ? ".comment " : ".source ") + quote_string(i.text) + "\n";
        return;
    case REC_FUNC_INFO:
        line();
        out += ".info " + std::to_string(static_cast<int8_t>(i.number)) + "\n";
        return;
    case REC_NODE:
        line();
        out += ".node ";
        top(i.tree, i.tree.root, 0);
        out += '\n';
        return;
    case REC_EHT: eht(i); return;
    case REC_INIT: initialiser(i); return;
    default: raw(i.id, i.text); return;
    }
}

} // namespace nxtext
