#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "vexa/io/JsonData.h"

namespace vexa::ujson {
namespace {

// What to_object and to_array answer for other kinds: not const, so a caller may have put something
// in; the next one gets it empty again.
template <class List>
List& EmptyList() {
    thread_local List list;
    list.clear();
    return list;
}

template <class List>
const List& NoList() {
    static const List& list = *new List;
    return list;
}

const value& ValueOf(const value& element) {
    return element;
}
const value& ValueOf(const member& element) {
    return element.second;
}
value& ValueOf(value& element) {
    return element;
}
value& ValueOf(member& element) {
    return element.second;
}

bool IsFilledList(const value& v) {
    return (v.is_array() && !v.to_array().empty()) || (v.is_object() && !v.to_object().empty());
}

template <class List>
bool AnyFilledList(const List& list) {
    return std::any_of(list.begin(), list.end(),
                       [](const auto& element) { return IsFilledList(ValueOf(element)); });
}

struct Copy {
    const value* from;
    value* to;
};

void CopyName(const value&, value&) {}
void CopyName(const member& from, member& to) {
    to.first = from.first;
}

// Makes `to` as long as `from` and notes what is to be copied into it.
template <class List>
void PairUp(const List& from, List& to, std::vector<Copy>& pending) {
    to.resize(from.size());
    for (std::size_t i = 0; i < from.size(); ++i) {
        CopyName(from[i], to[i]);
        pending.push_back({&ValueOf(from[i]), &ValueOf(to[i])});
    }
}

template <class List>
void MoveListsOut(List& list, array& out) {
    for (auto& element : list)
        if (IsFilledList(ValueOf(element))) out.push_back(std::move(ValueOf(element)));
}

}  // namespace

value::value(kind type) : m_kind(code(type)) {
    if (type == kind::String) m_data.text = new std::string();
    if (type == kind::Array) m_data.elements = new array();
    if (type == kind::Object) m_data.members = new object();
}

value::value(bool flag) : m_kind(code(kind::Boolean)) {
    m_data.flag = flag;
}

value::value(double number) : m_kind(code(kind::Number)) {
    m_data.number = number;
}

value::value(std::string text) : m_kind(code(kind::String)) {
    m_data.text = new std::string(std::move(text));
}

value::value(const value& other) {
    std::vector<Copy> pending{{&other, this}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        if (from->is_array() || from->is_object()) {
            *to = value(from->type());
        } else if (from->is_string()) {
            *to = value(*from->m_data.text);
        } else {
            to->m_kind = from->m_kind;
            to->m_data = from->m_data;
        }
        to->m_offset = from->m_offset;
        if (from->is_array()) PairUp(from->to_array(), to->to_array(), pending);
        if (from->is_object()) PairUp(from->to_object(), to->to_object(), pending);
    }
}

value& value::operator=(const value& other) {
    return *this = value(other);
}

void value::swap(value& other) noexcept {
    std::swap(m_data, other.m_data);
    // Parts of a word cannot be swapped by reference.
    const std::uint64_t offset = m_offset;
    const std::uint64_t type = m_kind;
    m_offset = other.m_offset;
    m_kind = other.m_kind;
    other.m_offset = offset;
    other.m_kind = type;
}

void value::destroy() {
    if (is_array() && AnyFilledList(*m_data.elements)) return dismantle();
    if (is_object() && AnyFilledList(*m_data.members)) return dismantle();
    if (is_string()) delete m_data.text;
    if (is_array()) delete m_data.elements;
    if (is_object()) delete m_data.members;
}

// Takes the lists below out, one after the other, so that each is destroyed without lists in it.
void value::dismantle() {
    array doomed;
    doomed.push_back(std::move(*this));
    while (!doomed.empty()) {
        value list = std::move(doomed.back());
        doomed.pop_back();
        if (list.is_array()) {
            MoveListsOut(list.to_array(), doomed);
        } else {
            MoveListsOut(list.to_object(), doomed);
        }
    }
}

object& value::to_object() {
    return is_object() ? *m_data.members : EmptyList<object>();
}
const object& value::to_object() const {
    return is_object() ? *m_data.members : NoList<object>();
}
array& value::to_array() {
    return is_array() ? *m_data.elements : EmptyList<array>();
}
const array& value::to_array() const {
    return is_array() ? *m_data.elements : NoList<array>();
}

std::string value::to_string(const std::string& fallback) const {
    return is_string() ? *m_data.text : fallback;
}

std::string_view value::text() const {
    return is_string() ? std::string_view(*m_data.text) : std::string_view();
}

bool value::to_bool(bool fallback) const {
    return type() == kind::Boolean ? m_data.flag : fallback;
}

double value::to_double(double fallback) const {
    return type() == kind::Number ? m_data.number : fallback;
}

std::int32_t value::to_int32(std::int32_t fallback) const {
    using Limits = std::numeric_limits<std::int32_t>;
    if (type() != kind::Number) return fallback;
    const double whole = std::trunc(m_data.number);
    return whole >= Limits::min() && whole <= Limits::max() ? static_cast<std::int32_t>(whole)
                                                            : fallback;
}

void value::set_string(std::string text) {
    const std::size_t offset = m_offset;
    *this = value(std::move(text));
    m_offset = offset;
}

}  // namespace vexa::ujson
