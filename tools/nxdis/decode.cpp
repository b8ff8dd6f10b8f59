// Bytes to model. Every field is checked against the end of its record and every record against the end of the file, so
// that no input can lead outside; a record with bytes left over is a fault too.
#include "document.h"
#include "type_table.h"

#include <cstring>
#include <unordered_map>

namespace nxtext {
namespace {

// The fields of one record.
struct FIELDS {
    const std::string& bytes;
    size_t at, end;

    [[noreturn]] void short_record() const { throw file_fault(at, "the record ends in the middle of a field"); }
    uint8_t byte() {
        if (at >= end) short_record();
        return static_cast<uint8_t>(bytes[at++]);
    }
    uint32_t fixed(int count) {
        uint32_t v = 0;
        for (int i = 0; i < count; i++) v |= static_cast<uint32_t>(byte()) << (8 * i);
        return v;
    }
    uint32_t leb(bool sign) {
        uint32_t v = 0;
        unsigned shift = 0;
        uint8_t b = 0;
        do {
            b = byte();
            if (shift < 32) v |= static_cast<uint32_t>(b & 0x7F) << shift;
            shift += 7;
        } while ((b & 0x80) != 0);
        if (sign && shift < 32 && (b & 0x40) != 0) v |= ~0U << shift;
        return v;
    }
    uint32_t uint() { return leb(false); }
    uint32_t sint() { return leb(true); }
    std::string string() {
        const void* zero = memchr(bytes.data() + at, 0, end - at);
        if (zero == nullptr) throw file_fault(at, "a string has no end within its record");
        std::string text(bytes.data() + at);
        at += text.size() + 1;
        return text;
    }
    std::string counted(uint32_t n) {
        if (n > end - at) short_record();
        std::string text = bytes.substr(at, n);
        at += n;
        return text;
    }
    POS pos() {
        POS p;
        p.file = uint();
        if (p.file != 0) {
            p.line = uint();
            p.column = uint();
        }
        return p;
    }
    void done() const {
        if (at != end) throw file_fault(at, "the record has " + std::to_string(end - at) + " bytes too many");
    }
};

struct DECODER {
    const std::string& bytes;
    size_t at = 0;
    DOCUMENT doc;
    TYPE_TABLE types;
    std::unordered_map<uint32_t, uint32_t> place; // global index to the offset of its record 1 or 105

    explicit DECODER(const std::string& b) : bytes(b) {}

    int peek() const {
        if (at >= bytes.size()) throw file_fault(at, "the file ends in the middle of a section");
        return static_cast<uint8_t>(bytes[at]);
    }
    // Reads a header and steps behind the record; the fields are still to be read.
    FIELDS record(int& id) {
        id = peek();
        FIELDS f{bytes, at + 1, bytes.size()};
        if (id == REC_EOF) {
            at = f.at;
            f.end = f.at;
            return f;
        }
        const uint32_t size = f.uint();
        if (size > bytes.size() - f.at) throw file_fault(at, "the record reaches beyond the end of the file");
        f.end = f.at + size;
        at = f.end;
        return f;
    }
    // A record that must have this id.
    FIELDS record_of(int want, const char* what) {
        const size_t start = at;
        int id = 0;
        FIELDS f = record(id);
        if (id != want)
            throw file_fault(start, std::string("a record of ") + what + " is missing; record id " +
                                        std::to_string(id) + " stands there");
        return f;
    }

    void magic();
    ENODE node();
    TREE tree();
    PRAGMA_REC pragma(FIELDS f);
    std::unique_ptr<SYMBOL_REC> symbol(FIELDS f);
    std::vector<EHT_REC> eht(FIELDS f);
    ITEM initialiser(size_t start, FIELDS f);
    TYPE_REC type(FIELDS f);
    void body_record(int id, FIELDS f, size_t start);

    template <typename F> void section(uint32_t offset, const char* what, F&& each) {
        if (offset == 0) return;
        if (offset >= bytes.size())
            throw file_fault(offset, std::string("the section of ") + what + " lies beyond the end of the file");
        at = offset;
        for (;;) {
            const size_t start = at;
            int id = 0;
            FIELDS f = record(id);
            if (id == REC_EOF) return;
            each(id, f, start);
        }
    }
    uint32_t offsets[5] = {}; // of the options, initialisers, types, files, globals
};

void DECODER::magic() {
    if (bytes.empty() || static_cast<uint8_t>(bytes[0]) != REC_MAGIC)
        throw file_fault(0, "this is not an icode file: it does not begin with a magic record");
    int id = 0;
    FIELDS f = record(id);
    if (f.string() != "!<icode>\n") throw file_fault(0, "this is not an icode file: the magic text is another one");
    doc.version = static_cast<int16_t>(f.fixed(2));
    if (doc.version < icode_version_min || doc.version > icode_version)
        throw file_fault(0, "icode version " + std::to_string(doc.version) + " is not known");
    const uint32_t cpu = f.fixed(2);
    if (cpu != icode_cpu_id) throw file_fault(0, "the file is for CPU id " + std::to_string(cpu) + ", not 1000");
    for (uint32_t& o : offsets) o = f.fixed(4);
    doc.producer = f.string();
    if (doc.version >= -83) doc.reserved = f.fixed(4);
    f.done();
}

ENODE DECODER::node() {
    const size_t start = at;
    FIELDS f = record_of(REC_NODE, "an expression node");
    ENODE n;
    n.op = f.byte();
    if (n.op > FILE_OPCODE_VREG) throw file_fault(start, "opcode " + std::to_string(n.op) + " is out of range");
    n.type = f.uint();
    switch (n.op) {
    case LABEL:
    case SWITCH:
    case UCALL:
    case EPVAL:
    case SKIP: n.f[0] = f.uint(); break;
    case NAME:
    case CALL:
        n.f[0] = f.uint();
        n.f[1] = f.uint();
        break;
    case ICON: n.f[0] = f.leb(types.is_signed(n.type)); break;
    case FCON:
    case LCON:
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: n.text = f.string(); break;
    case SCON: n.text = f.counted(f.uint()); break;
    case FIELD:
        n.f[0] = f.byte();
        n.f[1] = f.uint();
        n.f[2] = f.uint();
        break;
    case DDNODE:
        n.f[0] = f.uint();
        n.f[1] = f.uint();
        n.f[2] = f.byte();
        break;
    case FILE_OPCODE_VREG: n.f[0] = f.sint(); break;
    default: break;
    }
    f.done();
    return n;
}

// The records are a prefix walk: places still to be filled wait on a stack, so that no nesting is too deep.
TREE DECODER::tree() {
    TREE t;
    struct PLACE {
        int parent;
        bool right;
    };
    std::vector<PLACE> places{{-1, false}};
    while (!places.empty()) {
        const PLACE p = places.back();
        places.pop_back();
        const int n = static_cast<int>(t.nodes.size());
        t.nodes.push_back(node());
        if (p.parent < 0)
            t.root = n;
        else
            (p.right ? t[p.parent].right : t[p.parent].left) = n;
        const int count = operands_in_file(t[n].op);
        if (count == 2) places.push_back({n, true});
        if (count >= 1) places.push_back({n, false});
    }
    return t;
}

PRAGMA_REC DECODER::pragma(FIELDS f) {
    PRAGMA_REC p;
    p.kind = f.uint();
    const uint32_t n = f.uint();
    for (uint32_t i = 0; i < n; i++) p.strings.push_back(f.string());
    f.done();
    return p;
}

std::unique_ptr<SYMBOL_REC> DECODER::symbol(FIELDS f) {
    auto s = std::make_unique<SYMBOL_REC>();
    s->name = f.string();
    s->size = f.uint();
    s->offset = f.uint();
    s->sclass = f.byte();
    s->scqual = static_cast<uint16_t>(f.fixed(2));
    s->type = f.uint();
    s->type2 = f.uint();
    s->aln = f.uint();
    const uint8_t pragmas = f.byte();
    s->position = f.uint();
    s->option_set = f.uint();
    s->pos = f.pos();
    f.done();
    for (int i = 0; i < pragmas; i++) s->pragmas.push_back(pragma(record_of(REC_PRAGMA, "a symbol's pragma")));
    return s;
}

std::vector<EHT_REC> DECODER::eht(FIELDS f) {
    const uint32_t count = f.uint();
    f.done();
    std::vector<EHT_REC> table;
    for (uint32_t i = 0; i < count; i++) {
        FIELDS g = record_of(REC_EHT_ENTRY, "an exception entry");
        EHT_REC e;
        e.id = g.uint();
        e.kind = g.uint();
        e.next = g.uint();
        e.count = g.uint();
        g.done();
        if (e.kind == EHK_CLEANUP) {
            FIELDS s = record_of(REC_STMT, "a clean-up statement");
            e.pos = s.pos();
            s.done();
            e.cleanup = tree();
        } else if (e.kind == EHK_CATCH) {
            FIELDS c = record_of(REC_CATCH, "a catch list");
            for (uint32_t k = 0; k < e.count; k++) {
                CATCH_REC one;
                one.name = c.string();
                one.label = c.uint();
                one.flag = c.byte();
                e.catches.push_back(std::move(one));
            }
            c.done();
        }
        table.push_back(std::move(e));
    }
    return table;
}

ITEM DECODER::initialiser(size_t start, FIELDS f) {
    ITEM item;
    item.id = REC_INIT;
    item.number = f.uint();
    f.done();
    place[item.number] = static_cast<uint32_t>(start);
    for (;;) {
        TREE t = tree();
        if (t[t.root].op == ENDINIT && t[t.root].type == 0) break;
        const bool last = t[t.root].op == ENDINIT;
        item.list.push_back(std::move(t));
        if (last) break;
    }
    return item;
}

TYPE_REC DECODER::type(FIELDS f) {
    TYPE_REC r;
    const size_t start = f.at;
    r.ref = f.uint();
    r.kind = f.byte();
    std::string layout;
    if (!type_layout(r.kind, doc.version, layout))
        throw file_fault(start, "type record kind " + std::to_string(r.kind) + " is not known");
    for (char c : layout) switch (c) {
        case 'u':
        case 't': r.v.push_back(f.uint()); break;
        case 's': r.v.push_back(f.sint()); break;
        case 'v': r.v.push_back(f.leb(types.is_signed(types.facts(r.ref).part))); break;
        case 'b': r.v.push_back(f.byte()); break;
        case 'x': r.v.push_back(0); break;
        case 'n': r.name = f.string(); break;
        case 'p': r.pos = f.pos(); break;
        }
    f.done();
    if (member_flag_first(r.kind, doc.version)) std::swap(r.v[5], r.v[6]);
    return r;
}

void DECODER::body_record(int id, FIELDS f, size_t start) {
    ITEM item;
    item.id = static_cast<uint8_t>(id);
    switch (id) {
    case REC_BEGIN_FUNC:
        item.pos = f.pos();
        item.number = f.uint();
        place[item.number] = static_cast<uint32_t>(start);
        f.done();
        break;
    case REC_END_FUNC:
    case REC_BEGIN_BLOCK:
    case REC_END_BLOCK:
    case REC_END_ARGS:
    case REC_END_LOCALS:
        item.pos = f.pos();
        f.done();
        break;
    case REC_SYMBOL: item.symbol = symbol(f); break;
    case REC_ASM:
        item.text = f.string();
        item.pos = f.pos();
        f.done();
        break;
    case REC_COMMENT:
    case REC_SOURCE:
        item.text = f.string();
        f.done();
        break;
    case REC_LABEL:
        item.number = f.uint();
        f.done();
        break;
    case REC_FUNC_INFO:
        item.number = f.byte();
        f.done();
        break;
    case REC_STMT:
        item.pos = f.pos();
        f.done();
        if (peek() == REC_NODE) item.tree = tree();
        break;
    case REC_PRAGMA: item.pragma = std::make_unique<PRAGMA_REC>(pragma(f)); break;
    case REC_EHT: item.eht = eht(f); break;
    case REC_NODE:
        at = start;
        item.tree = tree();
        break;
    case REC_INIT: item = initialiser(start, f); break;
    case REC_DD_EDGE:
    case REC_DD_VECTOR:
    case REC_LOOP_DEF:
    case REC_MBANK:
    case REC_LDSPEC:
    case REC_LOOP_HEADER:
    case REC_IR_INS:
    case REC_IR_BEGIN_FUNC:
    case REC_IR_END_FUNC:
    case REC_TYPE: item.text = bytes.substr(f.at, f.end - f.at); break;
    default: throw file_fault(start, "record id " + std::to_string(id) + " is not known");
    }
    doc.body.push_back(std::move(item));
}

} // namespace

DOCUMENT decode(const std::string& bytes) {
    DECODER d(bytes);
    d.magic();
    const size_t body = d.at;
    const auto wrong = [](const char* what, size_t start) {
        throw file_fault(start, std::string("a foreign record stands in the section of ") + what);
    };
    d.section(d.offsets[0], "option sets", [&](int id, FIELDS f, size_t start) {
        if (id != REC_OPTION_SET) wrong("option sets", start);
        OPTION_SET set;
        set.number = f.uint();
        const uint32_t n = f.uint();
        for (uint32_t i = 0; i < n; i++) set.strings.push_back(f.string());
        f.done();
        d.doc.options.push_back(std::move(set));
    });
    d.section(d.offsets[3], "file names", [&](int id, FIELDS f, size_t start) {
        if (id != REC_SOURCE) wrong("file names", start);
        d.doc.files.push_back(f.string());
        f.done();
    });
    d.section(d.offsets[2], "types", [&](int id, FIELDS f, size_t start) {
        if (id != REC_TYPE) wrong("types", start);
        d.doc.types.push_back(d.type(f));
        d.types.apply(d.doc.types.back());
    });
    d.section(d.offsets[4], "global symbols", [&](int id, FIELDS f, size_t start) {
        if (id != REC_SYMBOL) wrong("global symbols", start);
        d.doc.globals.push_back(std::move(*d.symbol(f)));
    });
    d.section(d.offsets[1], "initialisers", [&](int id, FIELDS f, size_t start) {
        if (id != REC_INIT) wrong("initialisers", start);
        d.doc.inits.push_back(d.initialiser(start, f));
    });
    d.section(static_cast<uint32_t>(body), "function bodies",
              [&](int id, FIELDS f, size_t start) { d.body_record(id, f, start); });

    for (size_t i = 0; i < d.doc.globals.size(); i++) {
        const auto found = d.place.find(static_cast<uint32_t>(i));
        d.doc.globals[i].position_here = d.doc.globals[i].position == (found == d.place.end() ? 0 : found->second);
    }
    for (ITEM& item : d.doc.body)
        if (item.symbol) item.symbol->position_here = item.symbol->position == 0;
    return std::move(d.doc);
}

} // namespace nxtext
