# SPDX-License-Identifier: GPL-3.0-or-later
"""What QML does not use is reported, and what it uses is not."""

import pathlib
import unittest

import lint_case
import check_view_models

WINDOW = check_view_models.FOLDER
VIEW_MODELS = """
class SessionViewModel : public MirrorItem {
  VREL_SHOWN(bool, isLive)
};
class StripViewModel : public MirrorItem {
  VREL_SHOWN(QString, name)  // as typed
  VREL_SHOWN(vrel::window::StripViewModel::Status, status)
};
class SongViewModel : public MirrorItem {
  VREL_SHOWN(QString, name)
};
class TextsViewModel : public MirrorItem {
  VREL_TEXT(panic)
};
class ConsoleCommands : public QObject {
  Q_INVOKABLE void tapTempo();
};
class ConsoleModel : public QObject {
  Q_PROPERTY(vrel::window::SessionViewModel* session READ session CONSTANT FINAL)
  Q_PROPERTY(vrel::window::TextsViewModel* texts READ texts CONSTANT FINAL)
  Q_PROPERTY(vrel::window::ConsoleCommands* commands READ commands CONSTANT FINAL)
};
"""
STRIP = """
    required property StripViewModel entry
    text: entry.name
    visible: entry.status === StripViewModel.Crashed
    enabled: desk.session.isLive
"""
SONG = """
    function open(song: SongViewModel): void { shown = song.name; }
    onClicked: desk.commands.tapTempo()
    text: desk.texts.panic
"""


class CheckViewModels(lint_case.LintCase):
    def setUp(self):
        super().setUp()
        self.write(f"{WINDOW}/view_models.h", VIEW_MODELS)
        self.write(f"{WINDOW}/qml/Strip.qml", STRIP)
        self.write(f"{WINDOW}/qml/Song.qml", SONG)

    def problems(self):
        return check_view_models.check_tree(self.root)

    def test_a_tree_where_everything_is_used_passes(self):
        self.assertEqual(self.problems(), [])

    def test_a_property_of_an_item_that_may_be_gone_is_read(self):
        self.write(f"{WINDOW}/qml/Strip.qml", STRIP.replace("entry.name", "entry?.name ?? \"\""))
        self.assertEqual(self.problems(), [])

    def test_a_property_that_no_file_reads_fails(self):
        self.write(f"{WINDOW}/qml/Strip.qml", STRIP.replace("entry.status", "true"))
        self.assert_reported(self.problems(), "view_models.h:7", "StripViewModel.status")

    def test_a_property_that_an_item_follows_passes(self):
        self.write(f"{WINDOW}/qml/Strip.qml", STRIP.replace("entry.status", "true"))
        self.write(f"{WINDOW}/band.cpp", "connect(strip, &StripViewModel::statusChanged, this, &Band::update);")
        self.assertEqual(self.problems(), [])

    def test_a_property_of_the_same_name_in_another_view_model_does_not_count(self):
        self.write(f"{WINDOW}/qml/Song.qml", SONG.replace("song.name", "song"))
        self.assert_reported(self.problems(), "view_models.h:10", "SongViewModel.name")

    def test_a_property_of_the_session_that_only_a_comment_names_fails(self):
        self.write(f"{WINDOW}/qml/Strip.qml", STRIP.replace("enabled:", "// "))
        self.assert_reported(self.problems(), "view_models.h:3", "SessionViewModel.isLive")

    def test_a_text_and_a_command_that_no_file_uses_fail(self):
        self.write(f"{WINDOW}/qml/Song.qml", SONG.replace("texts.panic", "texts"))
        self.assert_reported(self.problems(), "TextsViewModel.panic")
        self.write(f"{WINDOW}/qml/Song.qml", SONG.replace("commands.tapTempo", "tapTempo"))
        self.assert_reported(self.problems(), "ConsoleCommands.tapTempo")

    def test_the_tree_itself_offers_something(self):
        classes, accessors = check_view_models.offered(pathlib.Path(__file__).resolve().parents[2])
        self.assertIn("name", classes["StripViewModel"])
        self.assertIn("panic", classes["TextsViewModel"])
        self.assertIn("panic", classes["ConsoleCommands"])
        self.assertEqual(accessors["SessionViewModel"], {"session"})


if __name__ == "__main__":
    unittest.main()
