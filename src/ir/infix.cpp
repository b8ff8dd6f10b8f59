#include "ir/infix.h"

#include "ir/bblk.h"
#include "ir/fps.h"
#include "ir/node.h"
#include "ir/opt_expr.h"
#include "ir/pragma.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <cctype>

namespace {

class PRINTER {
  public:
    explicit PRINTER(size_t limit) : limit_(limit) {}

    std::string take() {
        if (text_.size() > limit_) text_ = text_.substr(0, limit_) + "...";
        return std::move(text_);
    }
    bool full() const { return text_.size() > limit_; }
    void add(const std::string& s) { text_ += s; }

    void label(const NODE* ref) {
        add("L" + int65_to_text(ref->lbl != nullptr ? INT65(ref->lbl->index) : ref->u.lval));
    }

    void list(NODE* args) {
        const char* separator = "";
        for (NODE* item : comma_list(args)) {
            if (full()) return;
            add(separator);
            tree(item);
            separator = ", ";
        }
    }

    void tree(const NODE* node) {
        if (full()) return;
        if (node == nullptr) return add("<none>");
        switch (node->op) {
        case NAME: return add(node->u.sym != nullptr ? node->u.sym->name : "<no symbol>");
        case ICON: return add(int65_to_text(node->u.lval));
        case FCON: return add(f_ftoa("%.17g", node->u.fval));
        case SCON: return string(node);
        case LABEL: return label(node);
        case LABELDEF: return label(node), add(":");
        case FIELD: return add(node->mval != nullptr ? node->mval->name : "<no member>");
        case CALL:
        case UCALL:
            if (node->left->op == UAND)
                tree(node->left->left);
            else
                parenthesised("(*", node->left, ")");
            add("(");
            if (node->op == CALL) list(node->right);
            return add(")");
        case ICALL:
        case UICALL:
        case MCALL:
        case UMCALL:
            add(std::string(node->u.name) + "(");
            if (node->left != nullptr) list(node->left);
            return add(")");
        case SCONV:
        case PCONV:
        case ACONV:
        case ISP2CHAR: return parenthesised("(" + type_text(node) + ")(", node->left, ")");
        case UMULT: return parenthesised("*(", node->left, ")");
        case UAND: return parenthesised("&", node->left, "");
        case UMINUS: return parenthesised("-(", node->left, ")");
        case NOTB: return parenthesised("~(", node->left, ")");
        case EXCLAIM: return parenthesised("!(", node->left, ")");
        case PLUSPLUS:
        case MINMIN:
            tree(node->left);
            add(node->op == PLUSPLUS ? " ++= " : " --= ");
            return tree(node->right);
        case QUEST:
            parenthesised("(", node->left, " ? ");
            tree(node->right->left);
            add(" : ");
            tree(node->right->right);
            return add(")");
        case STDOT:
        case STREF:
            tree(node->left);
            add(node->op == STDOT ? "." : "->");
            return tree(node->right);
        case COMMA: return list(const_cast<NODE*>(node));
        case ASM: return add("asm(\"" + std::string(node->text) + "\")");
        case PPRAGMA: return pragma(node);
        default: break;
        }
        if (node->left != nullptr && node->right != nullptr) return binary(node);
        add(trimmed_name(node->op) + "(");
        if (node->left != nullptr) tree(node->left);
        add(")");
    }

    void stmt(const NODE* node) {
        switch (node->op) {
        case BRANCH: return add("goto "), label(node->left);
        case CBRANCH: return parenthesised("if (!(", node->left, ")) goto "), label(node->right);
        case IF:
            parenthesised("if (", node->left, ") goto ");
            label(node->right->left);
            add("; else goto ");
            return label(node->right->right);
        case RETURN: return parenthesised("return ", node->right, "");
        case URETURN: return add("return");
        case SWITCH:
            parenthesised("switch (", node->left, ") {");
            for (NODE* item : comma_list(node->right)) {
                if (full()) break;
                add(" ");
                if (item->op == CASE) {
                    parenthesised("case ", item->left, ": goto ");
                    label(item->right);
                } else {
                    add("default: goto ");
                    label(item->left);
                }
                add(";");
            }
            return add(" }");
        case NASSERT: return parenthesised("assert(", node->left, ")");
        default: return tree(node);
        }
    }

  private:
    std::string text_;
    size_t limit_;

    static std::string type_text(const NODE* node) { return node->type != nullptr ? node->type->print(true) : "?"; }
    static std::string trimmed_name(int op) {
        std::string name = opname(op);
        return name.substr(0, name.find_last_not_of(' ') + 1);
    }

    void parenthesised(const std::string& before, const NODE* node, const char* after) {
        add(before);
        tree(node);
        add(after);
    }

    void binary(const NODE* node) {
        bool assignment = opcode_is_ASG(node->op);
        if (!assignment) add("(");
        tree(node->left);
        add(node->op == STASG || node->op == ARASG      ? " = "
            : node->op == COMMAOP || node->op == PCOMMA ? ", "
                                                        : " " + trimmed_name(node->op) + " ");
        tree(node->right);
        if (!assignment) add(")");
    }

    void string(const NODE* node) {
        add("\"");
        uint32_t n = node->u.lval.low;
        if (n != 0 && node->text[n - 1] == 0) n--;
        for (uint32_t i = 0; i < n && !full(); i++) {
            auto c = static_cast<unsigned char>(node->text[i]);
            char escaped[8];
            snprintf(escaped, sizeof escaped, "\\%03o", c);
            if (c == '"' || c == '\\')
                add(std::string("\\") + static_cast<char>(c));
            else
                add(isprint(c) && c < 128 ? std::string(1, static_cast<char>(c)) : escaped);
        }
        add("\"");
    }

    void pragma(const NODE* node) {
        add(std::string("#pragma ") + node->pragma->name() + "(");
        const char* separator = "";
        for (const std::string& text : node->pragma->strings) {
            add(separator + text);
            separator = ", ";
        }
        add(")");
    }
};

} // namespace

std::string tree2infix(const NODE* tree, size_t limit) {
    PRINTER printer(limit);
    printer.tree(tree);
    return printer.take();
}

std::string stmt2infix(const NODE* stmt, size_t limit) {
    PRINTER printer(limit);
    printer.stmt(stmt);
    return printer.take();
}

std::string label2infix(const LBL* label) { return "L" + std::to_string(label->index) + ":"; }
