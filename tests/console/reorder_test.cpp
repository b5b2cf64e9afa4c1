// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/reorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/move_item.h"

namespace vrel {
namespace {

using testing::ElementsAre;

class Drag : public testing::Test {
 protected:
  ReorderDropDelegate over(const Uuid& item) {
    return {.item = item,
            .items = [this] { return ids; },
            .isLocked = [this] { return isLocked; },
            .draggedId = draggedId,
            .dropTargetId = dropTargetId,
            .onMove = [this](std::size_t from, std::size_t to) { moveItem(ids, from, to); }};
  }

  const Uuid a = Uuid::fresh();
  const Uuid b = Uuid::fresh();
  const Uuid c = Uuid::fresh();
  std::vector<Uuid> ids{a, b, c};
  bool isLocked = false;
  Observable<std::optional<Uuid>> draggedId{a};
  Observable<std::optional<Uuid>> dropTargetId;
};

TEST_F(Drag, ReordersTheListWhileItPasses) {
  over(b).dropEntered();
  EXPECT_THAT(ids, ElementsAre(b, a, c));
  EXPECT_EQ(dropTargetId.get(), b);
  over(c).dropEntered();
  EXPECT_THAT(ids, ElementsAre(b, c, a));
  over(b).dropEntered();
  EXPECT_THAT(ids, ElementsAre(a, b, c)) << "and back to the top";
}

TEST_F(Drag, OverItselfChangesNothing) {
  over(a).dropEntered();
  EXPECT_THAT(ids, ElementsAre(a, b, c));
  EXPECT_EQ(dropTargetId.get(), std::nullopt);
}

TEST_F(Drag, OfNothingOrOfWhatIsNotInTheListChangesNothing) {
  draggedId.set(std::nullopt);
  over(b).dropEntered();
  draggedId.set(Uuid::fresh());
  over(b).dropEntered();
  draggedId.set(a);
  over(Uuid::fresh()).dropEntered();
  EXPECT_THAT(ids, ElementsAre(a, b, c));
  EXPECT_EQ(dropTargetId.get(), std::nullopt);
}

TEST_F(Drag, ALockedListForbidsIt) {
  isLocked = true;
  over(b).dropEntered();
  EXPECT_THAT(ids, ElementsAre(a, b, c));
  EXPECT_EQ(over(b).dropUpdated(), DropProposal::forbidden);
  EXPECT_FALSE(over(b).performDrop());
  EXPECT_EQ(draggedId.get(), std::nullopt);
}

TEST_F(Drag, LeavingARowAndTheDropClearTheMarks) {
  over(b).dropEntered();
  EXPECT_EQ(over(b).dropUpdated(), DropProposal::move);
  over(b).dropExited();
  EXPECT_EQ(dropTargetId.get(), std::nullopt);
  over(c).dropEntered();
  EXPECT_TRUE(over(c).performDrop());
  EXPECT_EQ(draggedId.get(), std::nullopt);
  EXPECT_EQ(dropTargetId.get(), std::nullopt);
}

TEST(OffsetMovedBy, IsBeforeTheItemThatComesToFollow) {
  EXPECT_EQ(offsetMovedBy(1, -1, 3), 0U);
  EXPECT_EQ(offsetMovedBy(1, 1, 3), 3U);
  EXPECT_EQ(offsetMovedBy(0, 2, 3), 3U);
}

TEST(OffsetMovedBy, IsAbsentBeyondAnEndAndForNoMove) {
  EXPECT_EQ(offsetMovedBy(0, -1, 3), std::nullopt);
  EXPECT_EQ(offsetMovedBy(2, 1, 3), std::nullopt);
  EXPECT_EQ(offsetMovedBy(1, 0, 3), std::nullopt);
  EXPECT_EQ(offsetMovedBy(0, 1, 0), std::nullopt);
}

}  // namespace
}  // namespace vrel
