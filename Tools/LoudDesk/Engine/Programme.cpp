// Programmes from layouts.

#include "Programme.h"

namespace louddesk {

Programme ProgrammeOf(const SpeakerLayout& speakers) {
  Programme programme;
  for (std::size_t channel = 0; channel < speakers.size(); ++channel)
    programme.push_back({channel, speakers[channel]});
  return programme;
}

}  // namespace louddesk
