// Character and string literals.
//
// A char of 16 bits holds escapes up to 0xFFFF; Clang refuses those above 255 in narrow literals. So a source text that
// has such escapes is given to Clang with the digits that do not fit turned into zeros (the length stays, and with it
// every position), and the values are remembered by the place of the escape in the text. Literals with a remembered
// escape are decoded here, all others are as Clang read them.
#include "literals.h"
#include "model.h"

#include "clang/Lex/Lexer.h"

#include <cstring>

using namespace clang;

namespace {

// Values of the escapes that were changed, by the address of their backslash in the text that Clang reads.
std::map<const char*, uint32_t>& large_escapes() {
    static std::map<const char*, uint32_t> values;
    return values;
}

struct CHANGE {
    size_t offset; // of the backslash
    uint32_t value;
};

bool is_octal(char c) { return c >= '0' && c <= '7'; }
bool is_word(char c) { return llvm::isAlnum(c) || c == '_'; }

// Length of the digits of an escape above 255 but no larger than a char, at the character behind the backslash, and its
// value; 0 for any other escape.
size_t large_escape(llvm::StringRef at, uint32_t& value) {
    unsigned long long v = 0;
    llvm::StringRef digits;
    if (at.startswith("x")) {
        digits = at.drop_front().take_while(llvm::isHexDigit);
        if (digits.empty() || digits.getAsInteger(16, v)) return 0;
    } else {
        digits = at.take_front(3).take_while(is_octal);
        if (digits.empty() || digits.getAsInteger(8, v)) return 0;
    }
    if (v <= 0xFF || v > 0xFFFF) return 0;
    value = uint32_t(v);
    return digits.size();
}

// Finds the literals of a source text and changes their large escapes.
std::vector<CHANGE> change_escapes(std::string& text) {
    std::vector<CHANGE> changes;
    size_t i = 0, n = text.size();
    auto skip_past = [&](const char* end) {
        size_t at = text.find(end, i);
        i = at == std::string::npos ? n : at + strlen(end);
    };
    while (i < n) {
        char c = text[i];
        if (c == '/' && i + 1 < n && (text[i + 1] == '/' || text[i + 1] == '*')) {
            bool block = text[i + 1] == '*';
            i += 2;
            skip_past(block ? "*/" : "\n");
            continue;
        }
        if (c != '"' && c != '\'') {
            ++i;
            continue;
        }
        bool wide = i > 0 && (text[i - 1] == 'L' || text[i - 1] == 'u' || text[i - 1] == 'U') &&
                    (i < 2 || !is_word(text[i - 2]));
        for (++i; i < n && text[i] != c && text[i] != '\n'; ++i) {
            if (text[i] != '\\') continue;
            uint32_t value = 0;
            size_t digits = wide ? 0 : large_escape(llvm::StringRef(text).substr(i + 1), value);
            if (digits != 0) {
                changes.push_back({i, value});
                size_t first = text[i + 1] == 'x' ? i + 2 : i + 1;
                if (text[i + 1] == 'x')
                    for (size_t k = first; k + 2 < first + digits; ++k) text[k] = '0';
                else
                    text[first] = char(text[first] - 4);
            }
            ++i; // whatever stands behind a backslash is no end of the literal
        }
        ++i;
    }
    return changes;
}

class CHANGED_FILE final : public llvm::vfs::File {
  public:
    CHANGED_FILE(llvm::vfs::Status status, std::unique_ptr<llvm::MemoryBuffer> buffer)
        : status_(std::move(status)), buffer_(std::move(buffer)) {}
    llvm::ErrorOr<llvm::vfs::Status> status() override { return status_; }
    llvm::ErrorOr<std::unique_ptr<llvm::MemoryBuffer>> getBuffer(const llvm::Twine&, int64_t, bool, bool) override {
        return std::move(buffer_);
    }
    std::error_code close() override { return {}; }

  private:
    llvm::vfs::Status status_;
    std::unique_ptr<llvm::MemoryBuffer> buffer_;
};

class ESCAPE_FILE_SYSTEM final : public llvm::vfs::ProxyFileSystem {
  public:
    using ProxyFileSystem::ProxyFileSystem;
    llvm::ErrorOr<std::unique_ptr<llvm::vfs::File>> openFileForRead(const llvm::Twine& path) override {
        auto file = ProxyFileSystem::openFileForRead(path);
        if (!file) return file;
        auto status = (*file)->status();
        auto buffer = (*file)->getBuffer(path, -1, true, false);
        if (!status || !buffer) return ProxyFileSystem::openFileForRead(path);
        if ((*buffer)->getBuffer().contains('\\')) {
            std::string text = (*buffer)->getBuffer().str();
            std::vector<CHANGE> changes = change_escapes(text);
            if (!changes.empty()) {
                *buffer = llvm::MemoryBuffer::getMemBufferCopy(text, (*buffer)->getBufferIdentifier());
                for (const CHANGE& change : changes)
                    large_escapes()[(*buffer)->getBufferStart() + change.offset] = change.value;
            }
        }
        return std::unique_ptr<llvm::vfs::File>(std::make_unique<CHANGED_FILE>(*status, std::move(*buffer)));
    }
};

} // namespace

llvm::IntrusiveRefCntPtr<llvm::vfs::FileSystem>
with_large_escapes(llvm::IntrusiveRefCntPtr<llvm::vfs::FileSystem> files) {
    return llvm::makeIntrusiveRefCnt<ESCAPE_FILE_SYSTEM>(std::move(files));
}

// The spelling of the literal token at `where`, empty if it has no large escape and `any` is not set.
static llvm::StringRef spelling(const ASTContext& ctx, SourceLocation where, bool any) {
    const std::map<const char*, uint32_t>& large = large_escapes();
    if (large.empty()) return {};
    where = ctx.getSourceManager().getSpellingLoc(where);
    unsigned length = Lexer::MeasureTokenLength(where, ctx.getSourceManager(), ctx.getLangOpts());
    const char* begin = ctx.getSourceManager().getCharacterData(where);
    auto first = large.lower_bound(begin);
    if (!any && (first == large.end() || first->first >= begin + length)) return {};
    return {begin, length};
}

// Appends the characters of a literal token.
void MODEL::decode(llvm::StringRef s, SourceLocation where, std::vector<uint32_t>& out) {
    s = s.drop_while([](char c) { return c != '"' && c != '\''; }).drop_front().drop_back();
    while (!s.empty()) {
        if (s.front() != '\\') {
            out.push_back(static_cast<unsigned char>(s.front()));
            s = s.drop_front();
            continue;
        }
        static const char letters[] = "abfnrtveE\\'\"?";
        static const unsigned char codes[] = {7, 8, 12, 10, 13, 9, 11, 27, 27, '\\', '\'', '"', '?'};
        auto known = large_escapes().find(s.data());
        s = s.drop_front();
        unsigned long long value = 0;
        size_t digits = 1;
        if (s.startswith("x")) {
            s = s.drop_front();
            digits = s.take_while(llvm::isHexDigit).size();
            s.take_front(digits).getAsInteger(16, value);
        } else if (!s.empty() && is_octal(s.front())) {
            digits = s.take_front(3).take_while(is_octal).size();
            s.take_front(digits).getAsInteger(8, value);
        } else {
            const char* at = s.empty() || s.front() == 0 ? nullptr : strchr(letters, s.front());
            if (at == nullptr) refuse(where, "this escape is not supported beside one above 255");
            value = codes[at - letters];
        }
        s = s.drop_front(digits);
        out.push_back(known != large_escapes().end() ? known->second : static_cast<uint32_t>(value));
    }
}

std::vector<uint32_t> MODEL::code_units(const StringLiteral* s) {
    std::vector<uint32_t> units;
    bool large = false;
    if (s->getCharByteWidth() == 1)
        for (unsigned i = 0; i < s->getNumConcatenated(); ++i)
            large = large || !spelling(ctx, s->getStrTokenLoc(i), false).empty();
    if (!large) {
        for (unsigned i = 0; i < s->getLength(); ++i) units.push_back(s->getCodeUnit(i));
        return units;
    }
    for (unsigned i = 0; i < s->getNumConcatenated(); ++i)
        decode(spelling(ctx, s->getStrTokenLoc(i), true), s->getStrTokenLoc(i), units);
    if (units.size() != s->getLength())
        refuse(s->getBeginLoc(), "this literal is not supported beside an escape above 255");
    return units;
}

int64_t MODEL::character(const CharacterLiteral* c) {
    int64_t value = c->getValue();
    if (c->getKind() != CharacterLiteral::Ascii) return value;
    if (llvm::StringRef token = spelling(ctx, c->getLocation(), false); !token.empty()) {
        std::vector<uint32_t> units;
        decode(token, c->getLocation(), units);
        if (units.size() == 1) return int16_t(units[0]);
        refuse(c->getLocation(),
               "a character constant of several characters with an escape above 255 is not supported");
    }
    // A single character from 128 to 255 is negative to Clang, but positive in a 16-bit char.
    if (int32_t(value) < 0 && int32_t(value) >= -128) value &= 0xFF;
    return value;
}
