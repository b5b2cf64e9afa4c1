# SPDX-License-Identifier: GPL-3.0-or-later
"""Breaks each rule of check_includes once, which must be reported."""

import unittest

import lint_case
import check_includes


class CheckIncludes(lint_case.LintCase):
    def setUp(self):
        super().setUp()
        self.write("src/foundation/CMakeLists.txt", "vrel_module(vrel_foundation SOURCES result.cpp)\n")
        self.write("src/foundation/result.h", "#pragma once\n")
        self.write("src/foundation/result.cpp", '#include "foundation/result.h"\n#include <vector>\n')
        self.module("platform", "vrel_foundation")
        self.module("document", "vrel_platform")
        self.module("channel", "vrel_document")
        self.module("system/audio", "vrel_platform")
        self.module("engine", "vrel_channel")

    def module(self, folder: str, depends: str) -> None:
        name = "vrel_" + folder.replace("/", "_")
        self.write(f"src/{folder}/CMakeLists.txt",
                   f"# vrel_module(a_comment DEPENDS counts_for_nothing)\nvrel_module({name}\n"
                   f"  SOURCES thing.cpp\n  DEPENDS {depends})\n")
        self.write(f"src/{folder}/thing.h", "#pragma once\n")
        self.write(f"src/{folder}/thing.cpp", f'#include "{folder}/thing.h"\n')

    def problems(self):
        return check_includes.check_tree(self.root)

    def test_a_clean_tree_passes(self):
        self.write("src/engine/thing.cpp", '#include "channel/thing.h"\n#include "foundation/result.h"\n')
        self.write("apps/vrel-render/main.cpp", '#include "system/audio/thing.h"\n#include <nlohmann/json.hpp>\n')
        self.assertEqual(self.problems(), [])

    def test_an_include_upwards_fails(self):
        self.write("src/document/thing.cpp", '#include <string>\n#include "engine/thing.h"\n')
        self.assert_reported(self.problems(), "src/document/thing.cpp:2", "vrel_document does not depend on vrel_engine")

    def test_an_include_sideways_fails(self):
        self.write("src/system/audio/thing.cpp", '#include "document/thing.h"\n')
        self.assert_reported(self.problems(), "src/system/audio/thing.cpp:1", "out of reach")

    def test_an_inner_folder_is_a_module_of_its_own(self):
        self.write("src/channel/thing.cpp", '#include "engine/thing.h"\n')
        self.assert_reported(self.problems(), "src/channel/thing.cpp:1", "out of reach")

    def test_two_modules_of_one_folder_are_told_apart_by_their_sources(self):
        self.write("src/midi/CMakeLists.txt", "vrel_module(vrel_midi SOURCES router.cpp DEPENDS vrel_channel)\n"
                                              "vrel_module(vrel_midi_file SOURCES file.cpp DEPENDS vrel_foundation)\n")
        self.write("src/midi/router.cpp", '#include "channel/thing.h"\n')
        self.write("src/midi/file.cpp", '#include "foundation/result.h"\n')
        self.assertEqual(self.problems(), [])
        self.write("src/midi/file.cpp", '#include "channel/thing.h"\n')
        self.assert_reported(self.problems(), "src/midi/file.cpp:1", "vrel_midi_file does not depend on")

    def test_a_private_dependency_is_not_passed_on(self):
        self.write("src/system/audio/CMakeLists.txt",
                   "vrel_module(vrel_system_audio SOURCES thing.cpp DEPENDS vrel_foundation "
                   "PRIVATE_DEPENDS vrel_platform)\n")
        self.write("src/system/audio/thing.cpp", '#include "platform/thing.h"\n')
        self.module("system/devices", "vrel_system_audio")
        self.assertEqual(self.problems(), [])
        self.write("src/system/devices/thing.cpp", '#include "platform/thing.h"\n')
        self.assert_reported(self.problems(), "src/system/devices/thing.cpp:1", "out of reach")

    def test_a_path_that_climbs_fails(self):
        self.write("src/engine/thing.cpp", '#include "../document/thing.h"\n')
        self.assert_reported(self.problems(), "src/engine/thing.cpp:1", "climbs out of its folder")
        self.write("src/engine/thing.cpp", "")
        self.write("tests/unit/thing.cpp", '#include "../../src/document/thing.h"\n')
        self.assert_reported(self.problems(), "tests/unit/thing.cpp:1", "climbs out of its folder")

    def test_a_name_not_written_from_src_fails(self):
        self.write("src/engine/thing.cpp", '#include "thing.h"\n')
        self.assert_reported(self.problems(), "src/engine/thing.cpp:1", "is not a file of src/")

    def test_a_test_may_include_what_stands_beside_it(self):
        self.write("tests/unit/helper.h", "#pragma once\n")
        self.write("tests/unit/thing.cpp", '#include "helper.h"\n')
        self.assertEqual(self.problems(), [])
        self.write("tests/unit/thing.cpp", '#include "no_such_helper.h"\n')
        self.assert_reported(self.problems(), "tests/unit/thing.cpp:1")

    def test_a_project_header_in_angle_brackets_fails(self):
        self.write("src/engine/thing.cpp", "#include <document/thing.h>\n")
        self.assert_reported(self.problems(), "src/engine/thing.cpp:1", "is not declared")

    def test_a_cycle_of_modules_fails(self):
        self.module("platform", "vrel_foundation vrel_document")
        text = "\n".join(self.problems())
        self.assertIn("vrel_platform depends on itself in a cycle", text)
        self.assertIn("vrel_document depends on itself in a cycle", text)

    def test_a_cycle_of_folders_fails(self):
        self.write("src/document/CMakeLists.txt",
                   "vrel_module(vrel_document SOURCES thing.cpp DEPENDS vrel_platform)\n"
                   "vrel_module(vrel_document_extra SOURCES extra.cpp DEPENDS vrel_engine)\n")
        self.write("src/document/extra.cpp", "")
        text = "\n".join(self.problems())
        self.assertIn("src/document: the folder depends on itself in a cycle", text)

    def test_logic_that_leans_on_the_system_fails(self):
        self.module("engine", "vrel_channel vrel_system_audio")
        self.assert_reported(self.problems(), "vrel_engine is logic and must not depend on vrel_system_audio")

    def test_a_link_outside_of_the_module_call_fails(self):
        self.write("src/engine/CMakeLists.txt",
                   "vrel_module(vrel_engine SOURCES thing.cpp DEPENDS vrel_channel)\n"
                   "target_link_libraries(vrel_engine PRIVATE vrel_system_audio)\n")
        self.assert_reported(self.problems(), "outside vrel_module")

    def test_a_source_that_no_module_lists_fails(self):
        self.write("src/engine/forgotten.cpp", "")
        self.assert_reported(self.problems(), "src/engine/forgotten.cpp", "no module lists")

    def test_each_library_is_kept_to_its_folder(self):
        cases = (("QObject", "src/shell"), ("QtQuick/QQuickItem", "src/system/desktop"),
                 ("lilv/lilv.h", "src/system/plugins/lv2"), ("lv2/urid/urid.h", "src/system/plugins/lv2"),
                 ("rtaudio/RtAudio.h", "src/system/devices"), ("alsa/asoundlib.h", "src/system/devices"),
                 ("libavcodec/avcodec.h", "src/system/media"), ("sndfile.h", "src/system/media"),
                 ("soxr.h", "src/system/media"), ("plist/plist.h", "src/system/property_list"),
                 ("nlohmann/json.hpp", "src/document"), ("gtest/gtest.h", "tests"), ("benchmark/benchmark.h", "bench"))
        for header, home in cases:
            for opening, closing in ("<>", '""'):
                with self.subTest(header=header, mark=opening):
                    self.write("src/engine/thing.cpp", f"#include {opening}{header}{closing}\n")
                    self.assert_reported(self.problems(), "src/engine/thing.cpp:1", "belongs to", home)
        self.write("src/engine/thing.cpp", "")
        for header, home in cases:
            with self.subTest(header=header, at=home):
                path = f"{home}/at_home.cpp"
                self.write(path, f"#include <{header}>\n")
                self.assertFalse([line for line in self.problems() if header in line])
                (self.root / path).unlink()

    def test_an_undeclared_library_fails(self):
        self.write("src/system/audio/thing.cpp", "#include <boost/any.hpp>\n")
        self.assert_reported(self.problems(), "boost/any.hpp", "not declared")

    def test_the_operating_system_is_kept_out_of_the_logic(self):
        self.write("src/system/audio/thing.cpp", "#include <unistd.h>\n")
        self.assertEqual(self.problems(), [])
        self.write("src/engine/thing.cpp", "#include <unistd.h>\n")
        self.assert_reported(self.problems(), "src/engine/thing.cpp:1", "operating system")


if __name__ == "__main__":
    unittest.main()
