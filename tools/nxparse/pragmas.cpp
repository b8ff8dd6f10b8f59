#include "pragmas.h"

#include "icode/if.h"

using namespace clang;

namespace {

class LOOP_PRAGMA_HANDLER final : public PragmaHandler {
  public:
    LOOP_PRAGMA_HANDLER(const char* name, unsigned kind, unsigned arguments, std::vector<LOOP_PRAGMA>& found)
        : PragmaHandler(name), kind_(kind), arguments_(arguments), found_(found) {}

    void HandlePragma(Preprocessor& pp, PragmaIntroducer introducer, Token& first) override {
        LOOP_PRAGMA p{introducer.Loc, kind_, {}};
        bool good = read_arguments(pp, p.strings);
        Token t;
        do pp.Lex(t);
        while (t.isNot(tok::eod));
        if (!good) {
            unsigned id =
                pp.getDiagnostics().getCustomDiagID(DiagnosticsEngine::Warning, "malformed '#pragma %0', ignored");
            pp.Diag(first.getLocation(), id) << getName();
            return;
        }
        found_.push_back(std::move(p));
    }

  private:
    // "(" integer or nothing, "," ... ")"; stops in front of the end of the line.
    bool read_arguments(Preprocessor& pp, std::vector<std::string>& out) {
        if (arguments_ == 0) return true;
        Token t;
        pp.Lex(t);
        if (t.isNot(tok::l_paren)) return end(pp, t);
        out.emplace_back();
        for (;;) {
            pp.Lex(t);
            if (t.is(tok::r_paren)) break;
            if (t.is(tok::comma)) {
                if (out.size() == arguments_) return end(pp, t);
                out.emplace_back();
                continue;
            }
            uint64_t value = 0;
            if (t.isNot(tok::numeric_constant) || !out.back().empty() || !pp.parseSimpleIntegerLiteral(t, value))
                return end(pp, t);
            out.back() = std::to_string(value);
            if (t.is(tok::comma)) { // the literal's reader has already taken the next token
                if (out.size() == arguments_) return end(pp, t);
                out.emplace_back();
                continue;
            }
            if (t.is(tok::r_paren)) break;
            return end(pp, t);
        }
        return !out.front().empty() || out.size() > 1;
    }
    bool end(Preprocessor& pp, Token& t) {
        if (t.is(tok::eod)) pp.EnterToken(t, false);
        return false;
    }

    unsigned kind_, arguments_;
    std::vector<LOOP_PRAGMA>& found_;
};

} // namespace

void watch_loop_pragmas(Preprocessor& pp, std::vector<LOOP_PRAGMA>& found) {
    pp.AddPragmaHandler(new LOOP_PRAGMA_HANDLER("MUST_ITERATE", PRAGMA::PRAGMA_MUST_ITERATE, 3, found));
    pp.AddPragmaHandler(new LOOP_PRAGMA_HANDLER("PROB_ITERATE", PRAGMA::PRAGMA_PROB_ITERATE, 2, found));
    pp.AddPragmaHandler(new LOOP_PRAGMA_HANDLER("UNROLL", PRAGMA::PRAGMA_UNROLL, 1, found));
    pp.AddPragmaHandler(new LOOP_PRAGMA_HANDLER("PARALLEL_LOOP", PRAGMA::PRAGMA_PARALLEL_LOOP, 0, found));
    pp.AddPragmaHandler(new LOOP_PRAGMA_HANDLER("LOOP_NO_ALIAS", PRAGMA::PRAGMA_LOOP_NO_ALIAS, 0, found));
}
