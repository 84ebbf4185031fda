// Parses channels and layouts.

#include "ProgrammeOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <set>

#include "BlockReading.h"
#include "SpeakerNames.h"

namespace louddesk {
namespace {

// Layouts by name. The order of the surround channels does not affect loudness.
struct NamedLayout {
  const char* name;
  const char* speakers;
};

constexpr NamedLayout kLayouts[] = {
    {"mono", "C"},          {"stereo", "L,R"},          {"3.0", "L,R,C"},
    {"5.0", "L,R,C,Ls,Rs"}, {"5.1", "L,R,C,LFE,Ls,Rs"}, {"7.1", "L,R,C,LFE,Ls,Rs,Lb,Rb"},
};

// The text on either side of the first '='; the right side is empty without '='.
struct Sides {
  std::string channels;
  std::string speakers;
};

Sides SidesOf(const std::string& text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos)
    return {text, ""};
  return {text.substr(0, sign), text.substr(sign + 1)};
}

// A channel number counted from 1; 0 for any other text.
std::size_t ChannelIn(const std::string& text) {
  std::size_t channel = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, channel);
  return error == std::errc() && rest == end && channel <= kMeters ? channel : 0;
}

// The channels of "1-6" or "7", counted from 0; empty for any other text.
std::vector<std::size_t> ChannelsIn(const std::string& range) {
  const std::size_t dash = range.find('-');
  const std::size_t first = ChannelIn(range.substr(0, dash));
  const std::size_t last = dash == std::string::npos ? first : ChannelIn(range.substr(dash + 1));
  std::vector<std::size_t> channels;
  if (first == 0)
    return channels;
  for (std::size_t channel = first; channel <= last; ++channel)
    channels.push_back(channel - 1);
  return channels;
}

// The channels of a list of ranges; empty if one of them is not a range.
std::vector<std::size_t> ChannelsOf(const std::string& list) {
  std::vector<std::size_t> channels;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    const auto range = ChannelsIn(list.substr(begin, end - begin));
    if (range.empty())
      return {};
    channels.insert(channels.end(), range.begin(), range.end());
    begin = end + 1;
  }
  return channels;
}

std::string SpeakersOf(const std::string& text) {
  for (const NamedLayout& layout : kLayouts)
    if (text == layout.name)
      return layout.speakers;
  return text;
}

std::string LayoutNames() {
  std::string names;
  for (const NamedLayout& layout : kLayouts)
    names += std::string(names.empty() ? "" : ", ") + layout.name;
  return names;
}

Programme WithoutUnusedChannels(const std::vector<std::size_t>& channels,
                                const SpeakerLayout& speakers) {
  Programme programme;
  for (std::size_t i = 0; i < channels.size(); ++i)
    if (speakers[i] != kNoSpeaker)
      programme.push_back({channels[i], speakers[i]});
  return programme;
}

void CheckChannels(const AudioFile& file, const Programme& programme) {
  for (const ProgrammeChannel& member : programme)
    if (member.channel >= file.Channels())
      throw AudioFileError(file.Path(), "has no channel " + std::to_string(member.channel + 1) +
                                            ", which --programme names");
}

}  // namespace

std::string CheckProgramme(const std::string& text) {
  const std::string quoted = "\"" + text + "\" ";
  const Sides sides = SidesOf(text);
  const std::vector<std::size_t> channels = ChannelsOf(sides.channels);
  if (channels.empty() || sides.speakers.empty())
    return quoted + "is not CHANNELS=SPEAKERS, as in 1-6=5.1 or 7,8=L,R; channels are 1 to 32";
  if (std::set<std::size_t>(channels.begin(), channels.end()).size() < channels.size())
    return quoted + "names a channel twice";
  const std::string list = SpeakersOf(sides.speakers);
  if (const std::string complaint = CheckSpeakers(list); !complaint.empty())
    return complaint + ", and the layouts " + LayoutNames();
  if (const std::size_t speakers = SplitSpeakers(list).size(); speakers != channels.size())
    return quoted + "names " + std::to_string(channels.size()) + " channels for " +
           std::to_string(speakers) + " speakers";
  return "";
}

Programme ParseProgramme(const std::string& text) {
  const Sides sides = SidesOf(text);
  return WithoutUnusedChannels(ChannelsOf(sides.channels),
                               SplitSpeakers(SpeakersOf(sides.speakers)));
}

void AddProgrammeOptions(CLI::App& command, ProgrammeOptions& options) {
  CLI::Option* speakers =
      command
          .add_option_function<std::string>(
              "--speakers",
              [&options](const std::string& list) { options.speakers = SplitSpeakers(list); },
              "Speaker of each channel, comma-separated")
          ->check(CheckSpeakers);
  command
      .add_option_function<std::vector<std::string>>(
          "--programme",
          [&options](const std::vector<std::string>& texts) {
            for (const std::string& text : texts)
              options.programmes.push_back(ParseProgramme(text));
          },
          "CHANNELS=SPEAKERS; may be given again")
      ->allow_extra_args(false)
      ->check(CheckProgramme)
      ->excludes(speakers);
  command.add_flag("--dual-mono", options.isDualMono,
                   "Mono as played by two speakers, 3.01 LU louder");
}

std::vector<Programme> ProgrammesOf(const AudioFile& file, const ProgrammeOptions& options) {
  std::vector<Programme> programmes = options.programmes;
  if (programmes.empty())
    programmes.push_back(ProgrammeOf(LayoutFor(file, options.speakers)));
  for (Programme& programme : programmes) {
    CheckChannels(file, programme);
    if (options.isDualMono)
      programme = AsDualMono(programme);
  }
  return programmes;
}

}  // namespace louddesk
