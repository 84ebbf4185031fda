// A period as it is written: for people, as JSON and as comma-separated values. Times for people
// are by their clock, those for programs in UTC. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Evidence.h"

namespace louddesk {

/// What there is to say of a period beside its figures: when its maxima were reached, time out of
/// tolerance, gaps and more.
std::vector<Fact> FactsOn(const Evidence& evidence);

/// What a reader of the figures must know and cannot see in them, one sentence each without a full
/// stop.
std::vector<std::string> NotesOn(const Evidence& evidence);

/// What an event says, in words.
std::string TextOf(const RecordedEvent& event);

/// A moment of a period, s since its beginning, in UTC: "2026-11-17T20:15:03.400Z".
std::string UtcTextAt(const StationPeriod& period, double seconds);

/// The table of `LoudDesk measure` with one row, the facts and all gaps that are known below it,
/// with a line feed at the end.
std::string EvidenceTable(const Evidence& evidence);

/// One object as Docs/PROTOCOL.md describes it, with a line feed at the end.
std::string EvidenceJson(const Evidence& evidence);

/// A heading and one row, by the conventions of `LoudDesk measure`.
std::string EvidenceCsv(const Evidence& evidence);

/// The seconds, one row each: the heading and a row.
std::string SecondsHeader();
std::string SecondsRow(const std::string& cluster, const RecordedSecond& second);

}  // namespace louddesk
