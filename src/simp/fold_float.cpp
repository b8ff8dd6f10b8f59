// Folding of floating nodes in the target's arithmetic, and the canonical text of a floating constant.
//
// Every operation is rounded to the type of its node, as the target does. An operation that would set a floating
// error at run time (invalid, overflow, underflow to zero) stays.
#include "simp/fold.h"
#include "simp/simp_int.h"

#include "ir/fps.h"
#include "ir/types.h"

#include <algorithm>
#include <cstring>

namespace {

NODE* become_FCON(NODE* node, const simul_fval& value, TYPE* type) {
    erase_tree(node->left);
    erase_tree(node->right);
    remake(node, FCON, nullptr, nullptr, type);
    node->u.fval = new simul_fval(value);
    node->text = nullptr;
    return node;
}

// The value of a constant in a floating type.
simul_fval operand_in_type(const NODE* constant, TYPE* type) {
    simul_fval value;
    if (constant->op == FCON)
        value = *constant->u.fval;
    else if (constant->u.lval.is_negative())
        f_itof(constant->u.lval.to_i64(), &value);
    else
        f_utof(constant->u.lval.bits64(), &value);
    truncate_fval_to_target(&value, type);
    return value;
}

bool compare(int op, const simul_fval& a, const simul_fval& b) {
    switch (op) {
    case EQ: return f_eq(&a, &b) != 0;
    case NEQ: return f_ne(&a, &b) != 0;
    case LE:
    case ULE: return f_le(&a, &b) != 0;
    case LT:
    case ULT: return f_lt(&a, &b) != 0;
    case GE:
    case UGE: return f_ge(&a, &b) != 0;
    default: return f_gt(&a, &b) != 0;
    }
}

// A floating constant as a value of an integer type; false if it has none there.
bool to_integer(const simul_fval& value, TYPE* type, INT65& result) {
    long long s;
    unsigned long long u;
    if (f_ftoi(&value, &s) == 0)
        result = s;
    else if (f_ftou(&value, &u) == 0)
        result = u;
    else
        return false;
    return value_fits_in_type(result, type);
}

bool arithmetic(int op, const simul_fval& a, const simul_fval& b, simul_fval& result) {
    switch (op) {
    case PLUS: f_add(&a, &b, &result); break;
    case MINUS: f_sub(&a, &b, &result); break;
    case MULT: f_mul(&a, &b, &result); break;
    case DIV: f_div(&a, &b, &result); break;
    case SQR: f_mul(&a, &a, &result); break;
    case SQRT: f_sqrt(&a, &result); break;
    case UMINUS: f_neg(&a, &result); break;
    case ABS: f_abs(&a, &result); break;
    case SCONV: result = a; break;
    default: return false;
    }
    return true;
}

NODE* fold_comparison(NODE* tree) {
    TYPE* type = tree->op == EXCLAIM ? tree->left->type : combined_type_for_types(tree->left->type, tree->right->type);
    if (!type->is_fltpt()) return nullptr;
    simul_fval a = operand_in_type(tree->left, type);
    simul_fval b = tree->op == EXCLAIM ? pos_zero : operand_in_type(tree->right, type);
    if (fp_error != 0) return nullptr;
    return become_ICON(tree, compare(tree->op == EXCLAIM ? EQ : tree->op, a, b), tp->int_type());
}

NODE* fold_to_integer(NODE* tree) {
    TYPE* type = value_type(tree->type);
    if (tree->op != SCONV || !type->is_integral()) return nullptr;
    INT65 result;
    if (type->is_bool())
        result = f_ne(tree->left->u.fval, &pos_zero);
    else if (!to_integer(*tree->left->u.fval, type, result))
        return nullptr;
    return become_ICON(tree, result, type);
}

} // namespace

NODE* fold_float_node(NODE* tree) {
    fp_error = 0;
    if (opcode_is_comparison(tree->op) || tree->op == EXCLAIM) return fold_comparison(tree);
    if (tree->type == nullptr || !tree->type->is_fltpt())
        return tree->type != nullptr ? fold_to_integer(tree) : nullptr;
    TYPE* type = tree->type->type_qualified();
    simul_fval a, b, result;
    // A conversion must see its operand as it is: double to float rounds once.
    a = tree->op == SCONV ? operand_in_type(tree->left, tree->left->op == FCON ? tree->left->type : type)
                          : operand_in_type(tree->left, type);
    if (tree->right != nullptr) b = operand_in_type(tree->right, type);
    if (!arithmetic(tree->op, a, b, result)) return nullptr;
    truncate_fval_to_target(&result, type);
    return fp_error == 0 ? become_FCON(tree, result, type) : nullptr;
}

// ------------------------------------------------------------------------------------------------- canonical text

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// A decimal literal: 0.d1 d2 d3 ... * 10^point, no zero in front or behind; no digits for zero.
struct DECIMAL {
    bool negative = false;
    std::string digits;
    long long point = 0;
};

bool read_decimal(const char* text, DECIMAL& number) {
    constexpr long long exponent_limit = 1000000000; // keeps sums of exponents exact; far beyond any format
    if (*text == '-' || *text == '+') number.negative = *text++ == '-';
    bool seen_point = false, seen_digit = false;
    for (; is_digit(*text) || (*text == '.' && !seen_point); text++) {
        if (*text == '.') {
            seen_point = true;
            continue;
        }
        seen_digit = true;
        if (*text == '0' && number.digits.empty()) {
            number.point -= seen_point;
            continue;
        }
        number.digits += *text;
        number.point += !seen_point;
    }
    if (!seen_digit) return false;
    if (*text == 'e' || *text == 'E') {
        text++;
        bool below = *text == '-';
        if (*text == '-' || *text == '+') text++;
        if (!is_digit(*text)) return false;
        long long exponent = 0;
        for (; is_digit(*text); text++) exponent = std::min(exponent * 10 + (*text - '0'), exponent_limit);
        number.point += below ? -exponent : exponent;
    }
    number.digits.erase(number.digits.find_last_not_of('0') + 1);
    if (number.digits.empty()) number.point = 0;
    return *text == 0;
}

// To `count` digits, halves away from zero.
void round_digits(DECIMAL& number, size_t count) {
    if (number.digits.size() <= count) return;
    bool up = number.digits[count] >= '5';
    number.digits.resize(count);
    while (up && !number.digits.empty() && number.digits.back() == '9') number.digits.pop_back();
    if (up && number.digits.empty()) {
        number.digits = "1";
        number.point++;
    } else if (up)
        number.digits.back()++;
    number.digits.erase(number.digits.find_last_not_of('0') + 1);
}

} // namespace

// A text that is no decimal literal ("Inf", "0x1p3") stays as it is.
std::string normalize_fcon(const char* text, int digits) {
    DECIMAL number;
    if (!read_decimal(text, number)) return text;
    if (digits > 0) round_digits(number, static_cast<size_t>(digits));
    std::string sign = number.negative ? "-" : "";
    const std::string& d = number.digits;
    if (d.empty()) return sign + "0.0";
    long long exponent = number.point - 1; // of d.ddd
    if (exponent < -3 || exponent > 4)
        return sign + d[0] + "." + (d.size() > 1 ? d.substr(1) : "0") + "e" + std::to_string(exponent);
    if (exponent < 0) return sign + "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + d;
    size_t whole = static_cast<size_t>(exponent) + 1;
    if (d.size() <= whole) return sign + d + std::string(whole - d.size(), '0') + ".0";
    return sign + d.substr(0, whole) + "." + d.substr(whole);
}
