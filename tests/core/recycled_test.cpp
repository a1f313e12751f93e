#include "qel/core/recycled.h"

#include <new>

#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/message.h"
#include "tests/support/testing.h"

namespace {

int blocks_taken = 0;  ///< from the heap
int blocks_held = 0;   ///< taken but not given back

}  // namespace

void* operator new(std::size_t size) {
  ++blocks_taken;
  ++blocks_held;
  return std::malloc(size);
}
void operator delete(void* block) noexcept {
  blocks_held -= block != nullptr ? 1 : 0;
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace qel {
namespace {

template <std::size_t SIZE>
struct Object : Recycled {
  char octets[SIZE];
};

/// Returns the number of blocks needed to have this many objects at once, and then frees them.
template <std::size_t SIZE>
int blocks_for(std::size_t count) {
  std::vector<std::unique_ptr<Object<SIZE>>> objects(count);
  const int before = blocks_taken;
  for (auto& object : objects) {
    object = std::make_unique<Object<SIZE>>();
  }
  return blocks_taken - before;
}

TEST(Recycled, KeepsAFewBlocksOfEachSizeInEachThread) {
  const int held = blocks_held;
  std::thread([] {
    blocks_for<40>(100);
    EXPECT_EQ(blocks_for<40>(16), 0);
    EXPECT_EQ(blocks_for<40>(100), 84);
    EXPECT_EQ(blocks_for<60>(1), 1) << "another size";
    blocks_for<1000>(1);
    EXPECT_EQ(blocks_for<1000>(1), 1) << "too large to be kept";
  }).join();
  EXPECT_EQ(blocks_held, held) << "after the end of the thread";

  auto object = std::make_unique<Object<40>>();
  std::thread([&] { object = nullptr; }).join();
  EXPECT_EQ(blocks_held, held) << "when the object goes in another thread than it came in";
}

TEST(Recycled, DoesNotChangeOtherFormsOfNew) {
  struct alignas(256) Aligned : Recycled {};
  const auto aligned = std::make_unique<Aligned>();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned.get()) % 256, 0U);
  alignas(Object<8>) char place[sizeof(Object<8>)];
  EXPECT_EQ(static_cast<void*>(new (place) Object<8>), place);
  delete new (std::nothrow) Object<8>;
  delete new (std::nothrow) Aligned;
}

TEST(Recycled, DecodingAgainAllocatesNothing) {
  const std::vector<std::uint8_t> octets = {0, 0, 0, 0, 0, 1, 0, 0x80, 1, 0, 6, 2, 0, 0, 0, 0, 1, 0, 0, 0};
  serialization::SerializationContext context;
  ieee1905_1::decode(octets, context);
  const int before = blocks_taken;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(ieee1905_1::decode(octets, context).get_list().get_TLV_list().size(), 2U);
  }
  EXPECT_EQ(blocks_taken, before);
}

}  // namespace
}  // namespace qel
