#include "CobaltreelCore/SessionDocuments.hpp"
#include "CobaltreelCore/SessionFields.hpp"

#include <charconv>
#include <cmath>
#include <utility>

#include <nlohmann/json.hpp>

namespace cobaltreel {

namespace {

enum class Layout { pretty, compact };

/// Where the writer is, for the message of an error; lives on the stack, costs nothing.
struct Path {
    const Path* parent = nullptr;
    std::string_view key;
    std::size_t index = 0;  // of an element, when `key` is empty

    std::string text() const {
        std::string before = parent ? parent->text() : std::string();
        if (key.empty()) return parent ? before + "[" + std::to_string(index) + "]" : before;
        return (before.empty() ? before : before + ".") + std::string(key);
    }
};

class Writer {
  public:
    Writer(Layout layout, std::size_t expectedSize) : layout_(layout) { out_.reserve(expectedSize); }

    std::string take() && {
        if (layout_ == Layout::pretty) out_ += '\n';
        return std::move(out_);
    }

    template <DescribedRecord Record>
    void write(const Record& record, const Path& path) {
        out_ += '{';
        ++depth_;
        bool first = true;
        eachField(record, [&](std::string_view key, const auto& field) {
            if constexpr (isOptional<std::remove_cvref_t<decltype(field)>>) {
                if (!field) return;
                writeField(key, *field, path, first);
            } else if constexpr (isLaterList<std::remove_cvref_t<decltype(field)>>) {
                if (!field.empty()) writeField(key, field, path, first);
            } else {
                writeField(key, field, path, first);
            }
        });
        --depth_;
        if (!first) breakLine();
        out_ += '}';
    }

  private:
    template <typename Field>
    void writeField(std::string_view key, const Field& field, const Path& path, bool& first) {
        if (!std::exchange(first, false)) out_ += ',';
        breakLine();
        out_ += '"';
        out_ += key;
        out_ += layout_ == Layout::pretty ? "\": " : "\":";
        write(field, Path{&path, key});
    }

    template <typename Element>
    void write(const std::vector<Element>& list, const Path& path) {
        out_ += '[';
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (i > 0) out_ += ',';
            write(list[i], Path{&path, {}, i});
        }
        out_ += ']';
    }

    void write(double value, const Path& path) {
        if (!std::isfinite(value))
            throw DocumentError(path.text(), "is not a finite number, which JSON cannot hold");
        // An integer cannot carry the sign of a negative zero.
        if (value == 0 && std::signbit(value))
            out_ += "-0.0";
        else
            appendNumber(value);
    }
    void write(std::int64_t value, const Path&) { appendNumber(value); }
    void write(std::uint32_t value, const Path&) { appendNumber(value); }
    void write(const std::string& text, const Path&) {
        // What is no UTF-8 becomes a replacement character: the rest of the document stays readable.
        out_ += nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    void write(bool value, const Path&) { out_ += value ? "true" : "false"; }

    // The raw values hold nothing that would need an escape.
    template <typename Enumeration>
    requires std::is_enum_v<Enumeration>
    void write(Enumeration value, const Path&) {
        out_ += '"';
        out_ += rawValue(value);
        out_ += '"';
    }

    /// The shortest text that reads back as the same number.
    template <typename Number>
    void appendNumber(Number value) {
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        out_.append(digits, end);
    }

    void breakLine() {
        if (layout_ == Layout::pretty) out_.append("\n").append(static_cast<std::size_t>(depth_) * 2, ' ');
    }

    Layout layout_;
    int depth_ = 0;
    std::string out_;
};

}  // namespace

std::string SessionDocuments::encode(const SessionMeta& meta) {
    Writer writer(Layout::pretty, 1024);
    writer.write(meta, Path{});
    return std::move(writer).take();
}

std::string SessionDocuments::encode(const EventLog& log) {
    constexpr std::size_t bytesPerRecord = 80;
    Writer writer(Layout::compact, 64 + bytesPerRecord * (log.samples.size() + log.windowFrames.size()));
    writer.write(log, Path{});
    return std::move(writer).take();
}

}  // namespace cobaltreel
