// MP3 and FLAC files that were joined: each link begins with a head that nothing else looks like.

#pragma once

#include <cstddef>
#include <memory>

#include "LinkInput.h"

namespace louddesk {

class TaggedLinks : public LinkInput {
 public:
  /// The size of the head of a link that begins at `bytes`; 0 where none begins there. `ahead`
  /// bytes may be looked at: at least `kLongestLook`, fewer only at the end of the input.
  using HeadFinder = std::size_t (*)(const unsigned char* bytes, std::size_t ahead);
  static constexpr std::size_t kLongestLook = 64;

  /// Links of an input that begins as MP3 or FLAC do; null for any other.
  static std::unique_ptr<LinkInput> Of(ByteInput& input);

  const char* Container() const override { return mContainer; }
  std::size_t Read(unsigned char* bytes, std::size_t count) override;
  bool NextLink() override;

 private:
  TaggedLinks(ByteInput& input, const char* container, const char* firstBytes, HeadFinder findHead)
      : mInput(input), mContainer(container), mFirstBytes(firstBytes), mFindHead(findHead) {}

  void FindNextHead();

  ByteInput& mInput;
  const char* mContainer;
  const char* mFirstBytes;  // that a head may begin with
  HeadFinder mFindHead;
  bool mIsAtBegin = true;     // of a link, whose own head is still to be read
  std::size_t mRest = 0;      // bytes ahead that are known to belong to the link
  bool mIsLinkAhead = false;  // the input stands at the head of the next link
};

}  // namespace louddesk
