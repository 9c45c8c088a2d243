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
    return !v.to_array().empty() || !v.to_object().empty();
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

value::value() = default;

value::value(kind type) {
    switch (type) {
        case kind::Null:
            break;
        case kind::Boolean:
            m_data = false;
            break;
        case kind::Number:
            m_data = 0.0;
            break;
        case kind::String:
            m_data = std::make_unique<std::string>();
            break;
        case kind::Array:
            m_data = std::make_unique<array>();
            break;
        case kind::Object:
            m_data = std::make_unique<object>();
            break;
    }
}

value::value(const value& other) {
    std::vector<Copy> pending{{&other, this}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        *to = value(from->type());
        to->m_offset = from->m_offset;
        if (from->is_array()) {
            PairUp(from->to_array(), to->to_array(), pending);
        } else if (from->is_object()) {
            PairUp(from->to_object(), to->to_object(), pending);
        } else {
            to->copy_scalar(*from);
        }
    }
}

void value::copy_scalar(const value& other) {
    if (const bool* flag = std::get_if<bool>(&other.m_data)) m_data = *flag;
    if (const double* number = std::get_if<double>(&other.m_data)) m_data = *number;
    if (other.is_string()) m_data = std::make_unique<std::string>(other.to_string({}));
}

value& value::operator=(const value& other) {
    return *this = value(other);
}

value::value(value&& other) noexcept
    : m_data(std::exchange(other.m_data, std::monostate())),
      m_offset(std::exchange(other.m_offset, no_offset)) {}

value& value::operator=(value&& other) noexcept {
    value taken(std::move(other));
    std::swap(m_data, taken.m_data);
    std::swap(m_offset, taken.m_offset);
    return *this;
}

value::~value() {
    if (has_nested_lists()) dismantle();
}

bool value::has_nested_lists() const {
    if (is_array()) return AnyFilledList(to_array());
    return is_object() && AnyFilledList(to_object());
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
    return is_object() ? *std::get<std::unique_ptr<object>>(m_data) : EmptyList<object>();
}
const object& value::to_object() const {
    return is_object() ? *std::get<std::unique_ptr<object>>(m_data) : NoList<object>();
}
array& value::to_array() {
    return is_array() ? *std::get<std::unique_ptr<array>>(m_data) : EmptyList<array>();
}
const array& value::to_array() const {
    return is_array() ? *std::get<std::unique_ptr<array>>(m_data) : NoList<array>();
}

std::string value::to_string(const std::string& fallback) const {
    return is_string() ? *std::get<std::unique_ptr<std::string>>(m_data) : fallback;
}

std::int32_t value::to_int32(std::int32_t fallback) const {
    using Limits = std::numeric_limits<std::int32_t>;
    const double* number = std::get_if<double>(&m_data);
    if (!number) return fallback;
    const double whole = std::trunc(*number);
    return whole >= Limits::min() && whole <= Limits::max() ? static_cast<std::int32_t>(whole)
                                                            : fallback;
}

void value::set_string(std::string text) {
    if (has_nested_lists()) dismantle();
    m_data = std::make_unique<std::string>(std::move(text));
}

}  // namespace vexa::ujson
