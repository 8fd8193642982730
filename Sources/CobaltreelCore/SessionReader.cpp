#include "CobaltreelCore/SessionDocuments.hpp"
#include "CobaltreelCore/SessionFields.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace cobaltreel {

namespace {

using Json = nlohmann::json;

constexpr int deepestNesting = 64;

std::string joined(const std::string& path, std::string_view key) {
    return path + (path.empty() || key.empty() ? "" : ".") + std::string(key);
}

// The library converts between kinds (true becomes 1, 1.5 becomes 1); a document is held to its types.

void decode(const Json& json, double& field, const std::string& path) {
    if (!json.is_number()) throw DocumentError(path, "must be a number");
    field = json.get<double>();
}

void decode(const Json& json, bool& field, const std::string& path) {
    if (!json.is_boolean()) throw DocumentError(path, "must be true or false");
    field = json.get<bool>();
}

template <typename Integer>
requires std::same_as<Integer, std::int64_t> || std::same_as<Integer, std::uint32_t>
void decode(const Json& json, Integer& field, const std::string& path) {
    const bool isInRange = json.is_number_unsigned()  ? std::in_range<Integer>(json.get<std::uint64_t>())
                           : json.is_number_integer() ? std::in_range<Integer>(json.get<std::int64_t>())
                                                      : false;
    if (!isInRange)
        throw DocumentError(path, "must be a whole number from " +
                                      std::to_string(std::numeric_limits<Integer>::min()) + " to " +
                                      std::to_string(std::numeric_limits<Integer>::max()));
    field = json.get<Integer>();
}

void decode(const Json& json, std::string& field, const std::string& path) {
    if (!json.is_string()) throw DocumentError(path, "must be a text");
    field = json.get<std::string>();
}

template <typename Enumeration>
requires std::is_enum_v<Enumeration>
void decode(const Json& json, Enumeration& field, const std::string& path) {
    const auto* text = json.get_ptr<const std::string*>();
    if (const auto found = text ? fromRawValue<Enumeration>(*text) : std::nullopt) {
        field = *found;
        return;
    }
    std::string complaint = "must be one of";
    for (const Enumeration candidate : allCases<Enumeration>)
        complaint.append(" \"").append(rawValue(candidate)).append("\"");
    throw DocumentError(path, complaint);
}

template <typename Value>
void decode(const Json& json, std::optional<Value>& field, const std::string& path) {
    field.reset();
    if (!json.is_null()) decode(json, field.emplace(), path);
}

/// Its elements were taken while the list was parsed.
template <typename Element>
void decode(const Json& json, std::vector<Element>&, const std::string& path) {
    if (!json.is_array()) throw DocumentError(path, "must be a list");
}

template <DescribedRecord Record>
void decode(const Json& json, Record& record, const std::string& path) {
    if (!json.is_object()) throw DocumentError(path, "must be an object");
    eachField(record, [&]<typename Field>(std::string_view key, Field& field) {
        const auto found = json.find(key);
        if (found != json.end())
            decode(*found, field, joined(path, key));
        else if (!isOptional<Field> && !isLaterList<Field>)
            throw DocumentError(joined(path, key), "is missing");
    });
}

/// Watches the parser: what is not known is dropped before it takes memory, and each element of a list
/// becomes a record as soon as it is whole, so that a log of half an hour needs no tree of values beside the
/// records.
template <typename Record>
class Reader {
  public:
    static Record read(std::string_view json) {
        Reader reader;
        const auto watch = [&reader](int depth, Json::parse_event_t event, Json& value) {
            return reader.keep(depth, event, value);
        };
        try {
            decode(Json::parse(json.begin(), json.end(), watch), reader.record_, "");
        } catch (const Json::parse_error& error) {
            throw DocumentError(reader.path(), "stops being JSON at byte " + std::to_string(error.byte));
        } catch (const Json::out_of_range&) {
            throw DocumentError(reader.path(), "holds a number that is too large");
        }
        return std::move(reader.record_);
    }

  private:
    using Event = Json::parse_event_t;

    /// Depths: 0 the document, 1 its fields, 2 the elements of a list, or fields of a field, 3 fields of an
    /// element.
    bool keep(int depth, Event event, const Json& value) {
        if (event == Event::key) return keepKey(depth, value.get_ref<const std::string&>());
        const bool begins = event == Event::object_start || event == Event::array_start;
        if (begins && depth >= deepestNesting) fail("is nested too deeply");
        if (depth >= unknownDepth_) return true;
        if (begins) begin(depth, event == Event::object_start);
        if (event == Event::value && depth == 2 && isInList_) {
            ++element_;
            fail("must be an object");
        }
        if (event == Event::array_end) isInList_ = false;
        if (event != Event::object_end) return true;
        if (depth == 0) keys_ = {};
        if (depth != 2 || !isInList_) return true;
        append(value);
        return false;
    }

    bool keepKey(int depth, const std::string& key) {
        if (depth > unknownDepth_) return false;
        const std::size_t level = depth == 1 ? 0 : 1;
        keys_[1] = {};
        keys_[level] = level == 0 ? nameIn(record_, key) : innerName(key);
        unknownDepth_ = keys_[level].empty() ? depth : nothingUnknown;
        if (keys_[level].empty()) return false;
        auto& seen = seen_[level];
        if (std::ranges::find(seen, keys_[level]) != seen.end()) fail("is there twice");
        seen.push_back(keys_[level]);
        return true;
    }

    void begin(int depth, bool isObject) {
        bool belongs = depth == 0 && isObject;
        if (depth == 0 && !isObject) fail("must be an object");
        if (depth == 1) {
            withField(
                [&]<typename Field>(Field&) { belongs = isObject ? DescribedRecord<Field> : isList<Field>; });
            isInList_ = belongs && !isObject;
            element_ = -1;
        } else if (depth == 2 && isInList_) {
            ++element_;
            keys_[1] = {};
            belongs = isObject;
        }
        if (!belongs) fail(isObject ? "must not be an object" : "must not be a list");
        seen_[depth == 0 ? 0 : 1].clear();
    }

    void append(const Json& value) {
        keys_[1] = {};
        withField([&]<typename Field>(Field& field) {
            if constexpr (isList<Field>) decode(value, field.emplace_back(), path());
        });
    }

    /// Calls `visit` with the field of the document that is being read.
    template <typename Visitor>
    void withField(Visitor&& visit) {
        eachField(record_, [&](std::string_view name, auto& field) {
            if (name == keys_[0]) visit(field);
        });
    }

    std::string_view innerName(const std::string& key) {
        std::string_view found;
        withField([&]<typename Field>(Field& field) {
            if constexpr (DescribedRecord<Field>)
                found = nameIn(field, key);
            else if constexpr (isList<Field>)
                found = nameIn(typename Field::value_type{}, key);
        });
        return found;
    }

    /// The key as the record's description names it; empty when it is not known.
    template <typename Described>
    static std::string_view nameIn(const Described& described, std::string_view key) {
        std::string_view found;
        eachField(described, [&](std::string_view name, const auto&) {
            if (name == key) found = name;
        });
        return found;
    }

    std::string path() const {
        const std::string element = isInList_ && element_ >= 0 ? "[" + std::to_string(element_) + "]" : "";
        return joined(std::string(keys_[0]) + element, keys_[1]);
    }
    [[noreturn]] void fail(const char* reason) const { throw DocumentError(path(), reason); }

    static constexpr int nothingUnknown = std::numeric_limits<int>::max();

    Record record_;
    std::array<std::string_view, 2> keys_;               // being read: of the document, and below it
    std::array<std::vector<std::string_view>, 2> seen_;  // so far, of the same objects
    int unknownDepth_ = nothingUnknown;                  // of the key whose value is dropped
    bool isInList_ = false;
    int element_ = -1;
};

}  // namespace

SessionMeta SessionDocuments::decodeSessionMeta(std::string_view json) {
    return Reader<SessionMeta>::read(json);
}

EventLog SessionDocuments::decodeEventLog(std::string_view json) { return Reader<EventLog>::read(json); }

}  // namespace cobaltreel
