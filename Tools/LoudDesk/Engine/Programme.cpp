// Builds programmes from speaker layouts.

#include "Programme.h"

#include <iterator>
#include <set>

#include "SpeakerNames.h"

namespace louddesk {

Programme ProgrammeOf(const SpeakerLayout& speakers) {
  Programme programme;
  for (std::size_t channel = 0; channel < speakers.size(); ++channel)
    if (speakers[channel] != kNoSpeaker)
      programme.push_back({channel, speakers[channel]});
  return programme;
}

Programme AsDualMono(const Programme& programme) {
  if (programme.size() != 1)
    return programme;
  Programme dual;
  for (const std::string& speaker : SplitSpeakers("L,R"))
    dual.push_back({programme.front().channel, speaker});
  return dual;
}

std::string ChannelsInWords(const Programme& programme) {
  std::set<std::size_t> channels;
  for (const ProgrammeChannel& member : programme)
    channels.insert(member.channel + 1);
  std::string words;
  for (auto first = channels.begin(); first != channels.end();) {
    auto last = first;
    while (channels.count(*last + 1) > 0)
      ++last;
    words += (words.empty() ? "" : ",") + std::to_string(*first);
    if (last != first)
      words += (*last == *first + 1 ? "," : "-") + std::to_string(*last);
    first = std::next(last);
  }
  return words;
}

}  // namespace louddesk
