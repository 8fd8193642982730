#include "CobaltreelCore/SessionDocuments.hpp"
#include "CobaltreelCore/SessionFields.hpp"

#include <limits>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

namespace cobaltreel {

namespace {

using Json = nlohmann::json;

/// A value that is neither an object nor a list.
using Scalar = std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string_view>;

/// What is wrong with a value; absent when nothing is.
using Complaint = std::optional<std::string>;

Complaint assign(double& field, const Scalar& value) {
    if (const auto* number = std::get_if<double>(&value))
        field = *number;
    else if (const auto* natural = std::get_if<std::uint64_t>(&value))
        field = static_cast<double>(*natural);
    else if (const auto* negative = std::get_if<std::int64_t>(&value))
        field = static_cast<double>(*negative);
    else
        return "must be a number";
    return std::nullopt;
}

Complaint assign(bool& field, const Scalar& value) {
    const auto* truth = std::get_if<bool>(&value);
    if (!truth) return "must be true or false";
    field = *truth;
    return std::nullopt;
}

template <typename Integer>
requires std::same_as<Integer, std::int64_t> || std::same_as<Integer, std::uint32_t> Complaint
assign(Integer& field, const Scalar& value) {
    const auto* natural = std::get_if<std::uint64_t>(&value);
    const auto* negative = std::get_if<std::int64_t>(&value);
    if (natural && std::in_range<Integer>(*natural))
        field = static_cast<Integer>(*natural);
    else if (negative && std::in_range<Integer>(*negative))
        field = static_cast<Integer>(*negative);
    else
        return "must be a whole number from " + std::to_string(std::numeric_limits<Integer>::min()) + " to " +
               std::to_string(std::numeric_limits<Integer>::max());
    return std::nullopt;
}

Complaint assign(std::string& field, const Scalar& value) {
    const auto* text = std::get_if<std::string_view>(&value);
    if (!text) return "must be a text";
    field = *text;
    return std::nullopt;
}

template <typename Enumeration>
requires std::is_enum_v<Enumeration> Complaint assign(Enumeration& field, const Scalar& value) {
    const auto* text = std::get_if<std::string_view>(&value);
    if (const auto found = text ? fromRawValue<Enumeration>(*text) : std::nullopt) {
        field = *found;
        return std::nullopt;
    }
    std::string complaint = "must be one of";
    for (const Enumeration candidate : allCases<Enumeration>)
        complaint.append(" \"").append(rawValue(candidate)).append("\"");
    return complaint;
}

template <typename Value>
Complaint assign(std::optional<Value>& field, const Scalar& value) {
    field.reset();
    if (std::holds_alternative<std::nullptr_t>(value)) return std::nullopt;
    return assign(field.emplace(), value);
}

template <DescribedRecord Record>
Complaint assign(Record&, const Scalar&) {
    return "must be an object";
}

template <typename Element>
Complaint assign(std::vector<Element>&, const Scalar&) {
    return "must be a list";
}

/// Calls `visit` with the field of that number.
template <typename Record, typename Visitor>
void withField(Record& record, int number, Visitor&& visit) {
    int index = 0;
    eachField(record, [&](std::string_view, auto& field) {
        if (index++ == number) visit(field);
    });
}

/// Fills records straight from the parser's events: a log of half an hour needs no tree of values
/// beside the records, and a hostile document gets neither memory nor stack.
class Reader {
  public:
    template <typename Record>
    static Record read(std::string_view json) {
        Record record;
        Reader reader(&record);
        Json::sax_parse(json.begin(), json.end(), &reader);
        return record;
    }

    bool null() { return take(nullptr); }
    bool boolean(bool value) { return take(value); }
    bool number_integer(std::int64_t value) { return take(value); }
    bool number_unsigned(std::uint64_t value) { return take(value); }
    bool number_float(double value, const std::string&) { return take(value); }
    bool string(std::string& value) { return take(std::string_view(value)); }
    bool binary(Json::binary_t&) { fail("must not be binary"); }
    bool start_object(std::size_t) { return open(Bracket::object); }
    bool start_array(std::size_t) { return open(Bracket::list); }
    bool end_array() { return close(); }
    bool end_object() {
        if (skipped_ == 0) requireAllFields();
        return close();
    }

    bool key(const std::string& key) {
        if (skipped_ > 0) return true;
        Level& level = levels_.back();
        level.key = {};
        level.field = unknownField;
        visitRecord(level, [&](auto& record) {
            int index = 0;
            eachField(record, [&](std::string_view name, auto&) {
                if (name == key) {
                    level.key = name;
                    level.field = index;
                }
                ++index;
            });
        });
        if (level.field == unknownField) return true;
        if (level.seen & bit(level.field)) fail("is there twice");
        level.seen |= bit(level.field);
        return true;
    }

    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) {
        constexpr int numberOverflow = 406;  // the parser's own number for it
        if (error.id == numberOverflow) fail("holds a number that is too large");
        fail("stops being JSON at byte " + std::to_string(position));
    }

  private:
    enum class Bracket { object, list };

    /// What is being filled.
    using Target =
        std::variant<SessionMeta*, DisplayFrame*, EventLog*, MouseSample*, WindowFrameSample*, Marker*,
                     std::vector<MouseSample>*, std::vector<WindowFrameSample>*, std::vector<Marker>*>;
    static constexpr int unknownField = -1;
    static constexpr std::size_t deepestNesting = 64;

    struct Level {
        Target target;
        std::string_view key{};  // of the field being read, empty for one that is not known
        int field = unknownField;
        std::uint32_t seen = 0;    // one bit for every field
        std::size_t elements = 0;  // of a list, begun so far
    };

    explicit Reader(Target root) : root_(root) {}

    static std::uint32_t bit(int field) { return std::uint32_t{1} << field; }

    template <typename Visitor>
    static void visitRecord(Level& level, Visitor&& visit) {
        std::visit(
            [&](auto* target) {
                if constexpr (DescribedRecord<std::remove_pointer_t<decltype(target)>>) visit(*target);
            },
            level.target);
    }

    static bool isAtList(const Level& level) {
        return std::visit([](auto* target) { return isList<std::remove_pointer_t<decltype(target)>>; },
                          level.target);
    }

    bool take(const Scalar& value) {
        if (skipped_ > 0) return true;
        if (levels_.empty()) fail("must be an object");
        Level& level = levels_.back();
        if (isAtList(level)) {
            ++level.elements;
            fail("must be an object");
        }
        if (level.field == unknownField) return true;
        Complaint complaint;
        visitRecord(level, [&](auto& record) {
            withField(record, level.field, [&](auto& field) { complaint = assign(field, value); });
        });
        if (complaint) fail(*complaint);
        return true;
    }

    bool open(Bracket bracket) {
        if (levels_.size() + skipped_ >= deepestNesting) fail("is nested too deeply");
        if (skipped_ > 0 || (!levels_.empty() && isUnknown(levels_.back()))) {
            ++skipped_;
            return true;
        }
        const auto target = levels_.empty() ? std::optional(root_) : innerTarget(levels_.back(), bracket);
        if (bracket == Bracket::list && levels_.empty()) fail("must be an object");
        if (!target) fail(bracket == Bracket::object ? "must not be an object" : "must not be a list");
        levels_.push_back({*target});
        return true;
    }

    bool close() {
        if (skipped_ > 0)
            --skipped_;
        else
            levels_.pop_back();
        return true;
    }

    static bool isUnknown(const Level& level) { return level.field == unknownField && !isAtList(level); }

    /// What an object or list fills at this place; absent when none belongs here.
    static std::optional<Target> innerTarget(Level& level, Bracket bracket) {
        std::optional<Target> inner;
        const auto descend = [&]<typename Field>(Field& field) {
            if constexpr (DescribedRecord<Field>) {
                if (bracket == Bracket::object) inner = &field;
            } else if constexpr (isList<Field>) {
                if (bracket == Bracket::list) inner = &field;
            }
        };
        std::visit(
            [&]<typename Current>(Current* target) {
                if constexpr (isList<Current>) {
                    ++level.elements;
                    if (bracket == Bracket::object) inner = &target->emplace_back();
                } else {
                    withField(*target, level.field, descend);
                }
            },
            level.target);
        return inner;
    }

    void requireAllFields() {
        Level& level = levels_.back();
        visitRecord(level, [&](auto& record) {
            int index = 0;
            eachField(record, [&]<typename Field>(std::string_view name, Field&) {
                if (!isOptional<Field> && !isLaterList<Field> && !(level.seen & bit(index))) {
                    level.key = name;
                    fail("is missing");
                }
                ++index;
            });
        });
    }

    [[noreturn]] void fail(std::string reason) const {
        std::string path;
        for (const Level& level : levels_) {
            if (isAtList(level)) {
                if (level.elements > 0) path += "[" + std::to_string(level.elements - 1) + "]";
            } else if (!level.key.empty()) {
                path.append(path.empty() ? "" : ".").append(level.key);
            }
        }
        throw DocumentError(std::move(path), std::move(reason));
    }

    Target root_;
    std::vector<Level> levels_;
    std::size_t skipped_ = 0;  // brackets open below a key that is not known
};

}  // namespace

SessionMeta SessionDocuments::decodeSessionMeta(std::string_view json) {
    return Reader::read<SessionMeta>(json);
}

EventLog SessionDocuments::decodeEventLog(std::string_view json) { return Reader::read<EventLog>(json); }

}  // namespace cobaltreel
