// Words of the text form. A comment runs from `;` to the end of its line; the end of a line counts.
#ifndef NXTEXT_LEXER_H
#define NXTEXT_LEXER_H

#include "document.h"

#include <deque>

namespace nxtext {

struct TOKEN {
    enum KIND { END, NEWLINE, WORD, QUOTED, STRING, NUMBER, FLOAT, TYPEREF, DIRECTIVE, PUNCT } kind = END;
    std::string text;   // WORD, DIRECTIVE (with its point), PUNCT, numbers: as written; QUOTED, STRING: the contents
    uint32_t value = 0; // TYPEREF
    int line = 1, column = 1;
    bool adjacent = false; // no blank in front of it
};

struct LEXER {
    explicit LEXER(const std::string& source) : text(source) {}
    const TOKEN& peek(size_t k = 0);
    TOKEN next();

  private:
    const std::string& text;
    size_t at = 0;
    int line = 1;
    size_t line_start = 0;
    bool first = true; // nothing of the line has been read
    std::deque<TOKEN> ahead;

    TOKEN read();
    void read_quoted(TOKEN&, char quote);
    void read_number(TOKEN&);
    void read_punct(TOKEN&);
    [[noreturn]] void fail(const std::string& what) const {
        throw text_fault(line, static_cast<int>(at - line_start) + 1, what);
    }
};

} // namespace nxtext

#endif
