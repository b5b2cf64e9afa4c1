// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lilv/lilv.h>

#include <memory>

/// Owners of what Lilv hands out.
namespace vrel::lv2 {

struct NodeDeleter {
  void operator()(LilvNode* node) const { lilv_node_free(node); }
};
using Node = std::unique_ptr<LilvNode, NodeDeleter>;

struct NodesDeleter {
  void operator()(LilvNodes* nodes) const { lilv_nodes_free(nodes); }
};
using Nodes = std::unique_ptr<LilvNodes, NodesDeleter>;

struct HeapDeleter {
  void operator()(char* text) const { lilv_free(text); }
};
using HeapText = std::unique_ptr<char, HeapDeleter>;

struct StateDeleter {
  void operator()(LilvState* state) const { lilv_state_free(state); }
};
using State = std::unique_ptr<LilvState, StateDeleter>;

}  // namespace vrel::lv2
