#pragma once

#include "CobaltreelCore/DocumentError.hpp"
#include "CobaltreelCore/Models.hpp"

#include <string>
#include <string_view>

namespace cobaltreel {

/// The JSON forms of the two documents of a session, UTF-8. Pure; safe on any thread.
///
/// Reading is strict: every key but those of optional fields must be there, with a value of its type
/// and range; null stands for an absent optional; a number for a floating-point field may be written
/// without a fraction, one for an integer field may not be written with one; a key given twice is an
/// error, for nobody can tell which value is meant. Keys that are not known are skipped, whatever they
/// hold. `version` is read, not checked. All operations throw DocumentError.
namespace SessionDocuments {

/// session.json: two spaces a level, keys in ascending order, absent fields left out; equal records
/// give equal bytes. Throws when a number is not finite.
std::string encode(const SessionMeta& meta);
/// events.json: no white space. Throws when a number is not finite.
std::string encode(const EventLog& log);

SessionMeta decodeSessionMeta(std::string_view json);
EventLog decodeEventLog(std::string_view json);

}  // namespace SessionDocuments

}  // namespace cobaltreel
