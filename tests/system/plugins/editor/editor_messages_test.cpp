// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/editor_messages.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "simulation/virtual_time.h"
#include "system/plugins/sandbox/editor_session.h"
#include "system/plugins/sandbox/editor_view.h"
#include "system/plugins/sandbox/messages.h"

namespace vrel::sandbox {
namespace {

TEST(EditorMessages, ComeOutAsTheyWentIn) {
  const EditorRequest request{.place = {EditorKind::gtk2,
                                        true,
                                        "Organ",
                                        "urn:organ",
                                        "urn:organ-ui",
                                        "/b/",
                                        "/b/ui.so",
                                        {{0, "in", false, false}, {7, "gain", true, true}},
                                        {"urn:organ#tuning", "urn:organ#stops"}},
                              .title = "Keys - Organ Editor",
                              .content = {760, 520},
                              .mainWindow = 0x1200003,
                              .sampleRate = 48000,
                              .takesStageKeys = true,
                              .values = {{7, 0.5F}}};
  EXPECT_EQ(editorRequestFromBytes(toBytes(request)), request);
  EXPECT_EQ(editorSizeFromBytes(toBytes(EditorSize{3, 4})), (EditorSize{3, 4}));
  const std::vector<PortValue> values{{1, 2}, {3, 4}};
  EXPECT_EQ(portValuesFromBytes(toBytes(values)), values);
  KeyEvent key;
  key.charactersIgnoringModifiers = "\xC3\xA9";
  key.modifierFlags = ModifierFlags::command;
  key.keyCode = KeyEvent::upArrow;
  const auto read = keyEventFromBytes(toBytes(key));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->charactersIgnoringModifiers, key.charactersIgnoringModifiers);
  EXPECT_EQ(read->modifierFlags, key.modifierFlags);
  EXPECT_EQ(read->keyCode, key.keyCode);
  EXPECT_FALSE(keyEventFromBytes(toBytes(KeyEvent{}))->charactersIgnoringModifiers);
}

TEST(EditorMessages, TruncatedOrLongerOnesAreRefused) {
  const std::vector<PortValue> values{{1, 2}, {3, 4}};
  for (Bytes bytes : {toBytes(values), toBytes(EditorSize{3, 4}), toBytes(KeyEvent{}), toBytes(EditorRequest{})}) {
    bytes.push_back(0);
    EXPECT_FALSE(portValuesFromBytes(bytes));
    EXPECT_FALSE(editorSizeFromBytes(bytes));
    EXPECT_FALSE(keyEventFromBytes(bytes));
    EXPECT_FALSE(editorRequestFromBytes(bytes));
    bytes.resize(bytes.size() - 2);
    EXPECT_FALSE(portValuesFromBytes(bytes));
    EXPECT_FALSE(editorSizeFromBytes(bytes));
    EXPECT_FALSE(keyEventFromBytes(bytes));
    EXPECT_FALSE(editorRequestFromBytes(bytes));
  }
  const Bytes endless{0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_FALSE(portValuesFromBytes(endless)) << "a count that nothing follows";
}

TEST(EditorMessages, TheLargestPlugInFitsIntoARequest) {
  EditorRequest request;
  for (std::uint32_t port = 0; port < 4096; ++port) {
    request.place.ports.push_back({port, "a_symbol_of_the_longest_that_there_are_" + std::to_string(port), true, true});
    request.values.push_back({port, 1});
  }
  EXPECT_LE(toBytes(request).size(), largestBody(MessageKind::openEditor));
  EXPECT_LE(toBytes(request.values).size(), largestBody(MessageKind::portValues));
}

TEST(EditorMessages, ThatAnEditorIsShownIsSaidOnceAndThatItHasClosedIsHeardOnce) {
  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue(clock);
  EditorSession session({}, mainQueue, std::make_shared<GuestGate>(), {}, {});
  const Message shown{MessageKind::editorShown, 0, toBytes(EditorSize{3, 4})};
  const Message sized{MessageKind::editorSized, 0, toBytes(EditorSize{5, 6})};
  EXPECT_TRUE(session.accept(shown));
  EXPECT_FALSE(session.accept(shown)) << "its process is killed";
  for (int time = 0; time < 100; ++time) {
    EXPECT_TRUE(session.accept(sized));
    EXPECT_TRUE(session.accept({MessageKind::editorClosed}));
  }
  EXPECT_EQ(mainQueue.pendingCount(), 2U) << "its view, with its latest size, and its end";
}

TEST(EditorMessages, RequestsForFilesDoNotFillTheQueue) {
  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue(clock);
  EditorSession session({}, mainQueue, std::make_shared<GuestGate>(), {}, {});
  for (int time = 0; time < 100; ++time) {
    EXPECT_TRUE(session.accept({MessageKind::fileRequested, 0, {'u'}}));
  }
  EXPECT_EQ(mainQueue.pendingCount(), 1U);
}

}  // namespace
}  // namespace vrel::sandbox
