// See lexer.h.
#include "lexer.h"

#include <cctype>

namespace nxtext {

namespace {
bool word_char(char c) { return isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$'; }
bool digit(char c) { return isdigit(static_cast<unsigned char>(c)) != 0; }
int hex_value(char c) {
    if (digit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
} // namespace

const TOKEN& LEXER::peek(size_t k) {
    while (ahead.size() <= k) ahead.push_back(read());
    return ahead[k];
}

TOKEN LEXER::next() {
    peek();
    TOKEN t = std::move(ahead.front());
    ahead.pop_front();
    return t;
}

// At the opening quote.
void LEXER::read_quoted(TOKEN& t, char quote) {
    at++;
    for (;;) {
        if (at >= text.size() || text[at] == '\n') fail("the quote has no end on its line");
        char c = text[at++];
        if (c == quote) return;
        if (c == '\\') {
            if (at >= text.size()) fail("the quote has no end on its line");
            const char e = text[at++];
            switch (e) {
            case 'n': c = '\n'; break;
            case 't': c = '\t'; break;
            case 'r': c = '\r'; break;
            case '0': c = '\0'; break;
            case '\\':
            case '\'':
            case '"': c = e; break;
            case 'x': {
                const int high = at < text.size() ? hex_value(text[at]) : -1;
                const int low = at + 1 < text.size() ? hex_value(text[at + 1]) : -1;
                if (high < 0 || low < 0) fail("\\x needs two hexadecimal digits");
                c = static_cast<char>(high * 16 + low);
                at += 2;
                break;
            }
            default: at--; fail("this escape is not known");
            }
        }
        t.text += c;
    }
}

void LEXER::read_number(TOKEN& t) {
    const size_t from = at;
    const auto digits = [&](bool hex) {
        while (at < text.size() && (hex ? hex_value(text[at]) >= 0 : digit(text[at]))) at++;
    };
    const bool hex = text[at] == '0' && at + 1 < text.size() && (text[at + 1] == 'x' || text[at + 1] == 'X');
    if (hex) at += 2;
    digits(hex);
    t.kind = TOKEN::NUMBER;
    // A point in front of a letter is member access: a#5.f0
    const char behind = at + 1 < text.size() ? text[at + 1] : ' ';
    const bool fraction = hex ? hex_value(behind) >= 0 || behind == 'p' || behind == 'P' : digit(behind);
    if (at < text.size() && text[at] == '.' && fraction) {
        t.kind = TOKEN::FLOAT;
        at++;
        digits(hex);
    }
    const char exponent = at < text.size() ? static_cast<char>(tolower(static_cast<unsigned char>(text[at]))) : ' ';
    if (exponent == (hex ? 'p' : 'e')) {
        t.kind = TOKEN::FLOAT;
        at++;
        if (at < text.size() && (text[at] == '+' || text[at] == '-')) at++;
        if (at >= text.size() || !digit(text[at])) fail("the exponent has no digits");
        digits(false);
    } else if (hex && t.kind == TOKEN::FLOAT) {
        fail("a hexadecimal fraction needs an exponent");
    }
    if (at < text.size() && word_char(text[at])) fail("this is no number");
    t.text = text.substr(from, at - from);
    if (hex && t.text.size() == 2) fail("this is no number");
}

void LEXER::read_punct(TOKEN& t) {
    static const char* const longer[] = {"<<=", ">>=", "...", ":=", "==", "!=", "<=", ">=", "&&", "||", "++", "--",
                                         "+=",  "-=",  "*=",  "/=", "%=", "&=", "|=", "^=", "<<", ">>", "->", "=>"};
    t.kind = TOKEN::PUNCT;
    for (const char* p : longer) {
        const std::string s(p);
        if (text.compare(at, s.size(), s) == 0) {
            t.text = s;
            at += s.size();
            return;
        }
    }
    static const std::string single = "+-*/%&|^~!<>=()[]{},:.@#";
    if (single.find(text[at]) == std::string::npos) fail("this character has no meaning here");
    t.text = std::string(1, text[at++]);
}

TOKEN LEXER::read() {
    const size_t before = at;
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\r')) at++;
    if (at < text.size() && text[at] == ';')
        while (at < text.size() && text[at] != '\n') at++;
    TOKEN t;
    t.adjacent = at == before;
    t.line = line;
    t.column = static_cast<int>(at - line_start) + 1;
    if (at >= text.size()) return t;
    const char c = text[at];
    if (c == '\n') {
        t.kind = TOKEN::NEWLINE;
        at++;
        line++;
        line_start = at;
        first = true;
        return t;
    }
    const bool starts_line = first;
    first = false;
    if (starts_line && c == '.') {
        t.kind = TOKEN::DIRECTIVE;
        const size_t from = at++;
        while (at < text.size() && word_char(text[at])) at++;
        t.text = text.substr(from, at - from);
    } else if (c == '\'' || c == '"') {
        t.kind = c == '"' ? TOKEN::STRING : TOKEN::QUOTED;
        read_quoted(t, c);
    } else if (digit(c)) {
        read_number(t);
    } else if (word_char(c)) {
        const size_t from = at;
        while (at < text.size() && word_char(text[at])) at++;
        t.kind = TOKEN::WORD;
        t.text = text.substr(from, at - from);
        if (c == '$' && (t.text.size() == 1 || digit(t.text[1]))) {
            t.kind = TOKEN::TYPEREF;
            uint64_t v = 0;
            for (size_t i = 1; i < t.text.size(); i++) {
                if (!digit(t.text[i]) || v > UINT32_MAX) fail("this is no type reference");
                v = v * 10 + static_cast<uint64_t>(t.text[i] - '0');
            }
            if (v == 0 || v > UINT32_MAX) fail("this is no type reference");
            t.value = static_cast<uint32_t>(v);
        }
    } else {
        read_punct(t);
    }
    return t;
}

} // namespace nxtext
