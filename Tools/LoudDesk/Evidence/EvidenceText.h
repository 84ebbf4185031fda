// A period as text, as JSON and as comma-separated values. Texts have local times; JSON and
// comma-separated values have UTC. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Evidence.h"

namespace louddesk {

/// Facts about a period beside its figures: times of its maxima, time out of tolerance, gaps and
/// more.
std::vector<Fact> FactsOn(const Evidence& evidence);

/// Remarks that a reader needs to understand the figures, each one sentence without a full stop.
std::vector<std::string> NotesOn(const Evidence& evidence);

/// The contents of an event, in words.
std::string TextOf(const RecordedEvent& event);

/// A moment of a period, given in s from its beginning, in UTC: "2026-11-17T20:15:03.400Z".
std::string UtcTextAt(const StationPeriod& period, double seconds);

/// The table of `LoudDesk measure` with one row, followed by the facts and the listed gaps. Ends
/// with a line feed.
std::string EvidenceTable(const Evidence& evidence);

/// One object as described in Docs/PROTOCOL.md. Ends with a line feed.
std::string EvidenceJson(const Evidence& evidence);

/// A header and one row, in the form of `LoudDesk measure`.
std::string EvidenceCsv(const Evidence& evidence);

/// The table of seconds: its header, and the row of one second.
std::string SecondsHeader();
std::string SecondsRow(const std::string& cluster, const RecordedSecond& second);

}  // namespace louddesk
