// Model to bytes, in the order of sections that every writer of the project keeps.
#include "document.h"
#include "type_table.h"

namespace nxtext {
namespace {

struct ENCODER {
    DOCUMENT& doc;
    TYPE_TABLE types;
    std::string out, fields;
    uint32_t offsets[5] = {};

    void byte(uint32_t v) { fields += static_cast<char>(v & 0xFF); }
    void fixed(uint32_t v, int count) {
        for (int i = 0; i < count; i++) byte(v >> (8 * i));
    }
    static void put_uint(std::string& to, uint32_t v) {
        while (v >= 0x80) {
            to += static_cast<char>((v & 0x7F) | 0x80);
            v >>= 7;
        }
        to += static_cast<char>(v);
    }
    void uint(uint32_t v) { put_uint(fields, v); }
    void sint(uint32_t bits) {
        int32_t v = static_cast<int32_t>(bits);
        while (v < -64 || v > 63) {
            byte((static_cast<uint32_t>(v) & 0x7F) | 0x80);
            v >>= 7;
        }
        byte(static_cast<uint32_t>(v) & 0x7F);
    }
    void string(const std::string& text) { fields.append(text.c_str(), text.size() + 1); }
    void pos(const POS& p) {
        uint(p.file);
        if (p.file == 0) return;
        uint(p.line);
        uint(p.column);
    }
    void flush(int id) {
        out += static_cast<char>(id);
        put_uint(out, static_cast<uint32_t>(fields.size()));
        out += fields;
        fields.clear();
    }
    void end_section() { out += static_cast<char>(REC_EOF); }

    void magic();
    void node(const ENODE&);
    void tree(const TREE&);
    void pragma(const PRAGMA_REC&);
    void symbol(const SYMBOL_REC&);
    void eht(const std::vector<EHT_REC>&);
    void initialiser(ITEM&);
    void type(const TYPE_REC&);
    void body_record(ITEM&);
    void place(uint32_t global) {
        if (global < doc.globals.size() && doc.globals[global].position_here)
            doc.globals[global].position = static_cast<uint32_t>(out.size());
    }
};

void ENCODER::magic() {
    string("!<icode>\n");
    fixed(static_cast<uint32_t>(doc.version), 2);
    fixed(icode_cpu_id, 2);
    for (uint32_t o : offsets) fixed(o, 4);
    string(doc.producer);
    if (doc.version >= -83) fixed(doc.reserved, 4);
    flush(REC_MAGIC);
}

void ENCODER::node(const ENODE& n) {
    byte(n.op);
    uint(n.type);
    switch (n.op) {
    case LABEL:
    case SWITCH:
    case UCALL:
    case EPVAL:
    case SKIP: uint(n.f[0]); break;
    case NAME:
    case CALL:
        uint(n.f[0]);
        uint(n.f[1]);
        break;
    case ICON:
        if (types.is_signed(n.type))
            sint(n.f[0]);
        else
            uint(n.f[0]);
        break;
    case FCON:
    case LCON:
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: string(n.text); break;
    case SCON:
        uint(static_cast<uint32_t>(n.text.size()));
        fields += n.text;
        break;
    case FIELD:
        byte(n.f[0]);
        uint(n.f[1]);
        uint(n.f[2]);
        break;
    case DDNODE:
        uint(n.f[0]);
        uint(n.f[1]);
        byte(n.f[2]);
        break;
    case FILE_OPCODE_VREG: sint(n.f[0]); break;
    default: break;
    }
    flush(REC_NODE);
}

void ENCODER::tree(const TREE& t) {
    std::vector<int> pending;
    if (t.root >= 0) pending.push_back(t.root);
    while (!pending.empty()) {
        const ENODE& n = t[pending.back()];
        pending.pop_back();
        node(n);
        if (n.right >= 0) pending.push_back(n.right);
        if (n.left >= 0) pending.push_back(n.left);
    }
}

void ENCODER::pragma(const PRAGMA_REC& p) {
    uint(p.kind);
    uint(static_cast<uint32_t>(p.strings.size()));
    for (const std::string& s : p.strings) string(s);
    flush(REC_PRAGMA);
}

void ENCODER::symbol(const SYMBOL_REC& s) {
    string(s.name);
    uint(s.size);
    uint(s.offset);
    byte(s.sclass);
    fixed(s.scqual, 2);
    uint(s.type);
    uint(s.type2);
    uint(s.aln);
    byte(static_cast<uint32_t>(s.pragmas.size()));
    uint(s.position);
    uint(s.option_set);
    pos(s.pos);
    flush(REC_SYMBOL);
    for (const PRAGMA_REC& p : s.pragmas) pragma(p);
}

void ENCODER::eht(const std::vector<EHT_REC>& table) {
    uint(static_cast<uint32_t>(table.size()));
    flush(REC_EHT);
    for (const EHT_REC& e : table) {
        uint(e.id);
        uint(e.kind);
        uint(e.next);
        uint(e.count);
        flush(REC_EHT_ENTRY);
        if (e.kind == EHK_CLEANUP) {
            pos(e.pos);
            flush(REC_STMT);
            tree(e.cleanup);
        } else if (e.kind == EHK_CATCH) {
            for (const CATCH_REC& c : e.catches) {
                string(c.name);
                uint(c.label);
                byte(c.flag);
            }
            flush(REC_CATCH);
        }
    }
}

void ENCODER::initialiser(ITEM& item) {
    place(item.number);
    uint(item.number);
    flush(REC_INIT);
    bool ended = false;
    for (const TREE& t : item.list) {
        tree(t);
        ended = t[t.root].op == ENDINIT;
    }
    if (ended) return;
    ENODE end;
    end.op = ENDINIT;
    node(end);
}

void ENCODER::type(const TYPE_REC& r) {
    std::string layout;
    type_layout(r.kind, doc.version, layout);
    std::vector<uint32_t> v = r.v;
    v.resize(type_fields(r.kind));
    if (member_flag_first(r.kind, doc.version)) std::swap(v[5], v[6]);
    uint(r.ref);
    byte(r.kind);
    size_t i = 0;
    for (char c : layout) switch (c) {
        case 'u':
        case 't': uint(v[i++]); break;
        case 's': sint(v[i++]); break;
        case 'v':
            if (types.is_signed(types.facts(r.ref).part))
                sint(v[i++]);
            else
                uint(v[i++]);
            break;
        case 'b': byte(v[i++]); break;
        case 'x': i++; break;
        case 'n': string(r.name); break;
        case 'p': pos(r.pos); break;
        }
    flush(REC_TYPE);
}

void ENCODER::body_record(ITEM& item) {
    switch (item.id) {
    case REC_BEGIN_FUNC:
        place(item.number);
        pos(item.pos);
        uint(item.number);
        break;
    case REC_END_FUNC:
    case REC_BEGIN_BLOCK:
    case REC_END_BLOCK:
    case REC_END_ARGS:
    case REC_END_LOCALS: pos(item.pos); break;
    case REC_SYMBOL: symbol(*item.symbol); return;
    case REC_ASM:
        string(item.text);
        pos(item.pos);
        break;
    case REC_COMMENT:
    case REC_SOURCE: string(item.text); break;
    case REC_LABEL: uint(item.number); break;
    case REC_FUNC_INFO: byte(item.number); break;
    case REC_STMT:
        pos(item.pos);
        flush(REC_STMT);
        tree(item.tree);
        return;
    case REC_PRAGMA: pragma(*item.pragma); return;
    case REC_EHT: eht(item.eht); return;
    case REC_NODE: tree(item.tree); return;
    case REC_INIT: initialiser(item); return;
    default: fields = item.text; break;
    }
    flush(item.id);
}

} // namespace

std::string encode(DOCUMENT& doc) {
    ENCODER e{doc, {}, {}, {}, {}};
    for (const TYPE_REC& r : doc.types) e.types.apply(r);
    for (SYMBOL_REC& s : doc.globals)
        if (s.position_here) s.position = 0;
    e.magic();
    const size_t magic_size = e.out.size();
    const auto here = [&] { return static_cast<uint32_t>(e.out.size()); };
    for (ITEM& item : doc.body) e.body_record(item);
    e.end_section();
    if (!doc.inits.empty()) {
        e.offsets[1] = here();
        for (ITEM& item : doc.inits) e.initialiser(item);
        e.end_section();
    }
    if (!doc.options.empty()) {
        e.offsets[0] = here();
        for (const OPTION_SET& set : doc.options) {
            e.uint(set.number);
            e.uint(static_cast<uint32_t>(set.strings.size()));
            for (const std::string& s : set.strings) e.string(s);
            e.flush(REC_OPTION_SET);
        }
        e.end_section();
    }
    if (!doc.types.empty()) {
        e.offsets[2] = here();
        for (const TYPE_REC& r : doc.types) e.type(r);
        e.end_section();
    }
    if (!doc.files.empty()) {
        e.offsets[3] = here();
        for (const std::string& name : doc.files) {
            e.string(name);
            e.flush(REC_SOURCE);
        }
        e.end_section();
    }
    e.offsets[4] = here();
    for (const SYMBOL_REC& s : doc.globals) e.symbol(s);
    e.end_section();

    std::string rest = std::move(e.out);
    e.out.clear();
    e.magic();
    rest.replace(0, magic_size, e.out);
    return rest;
}

} // namespace nxtext
