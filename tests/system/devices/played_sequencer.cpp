// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/played_sequencer.h"

#include <poll.h>

#include <cerrno>

using vrel::system::test::ownClient;
using vrel::system::test::played;
using vrel::system::test::PlayedSequencer;

// The library's calls that reach the kernel.
extern "C" {

int snd_seq_open(snd_seq_t** handle, const char* /*name*/, int /*streams*/, int /*mode*/) {
  const std::lock_guard lock(played->mutex);
  if (!played->isThere) {
    return -ENOENT;
  }
  played->isOpen = true;
  *handle = reinterpret_cast<snd_seq_t*>(played);
  return 0;
}

int snd_seq_close(snd_seq_t* /*handle*/) {
  const std::lock_guard lock(played->mutex);
  played->isOpen = false;
  played->links.clear();
  return 0;
}

int snd_seq_set_client_name(snd_seq_t* /*handle*/, const char* /*name*/) {
  return 0;
}

int snd_seq_set_client_pool_input(snd_seq_t* /*handle*/, std::size_t size) {
  const std::lock_guard lock(played->mutex);
  played->eventsKept = size;
  return 0;
}

int snd_seq_client_id(snd_seq_t* /*handle*/) {
  return ownClient;
}

int snd_seq_create_port(snd_seq_t* /*handle*/, snd_seq_port_info_t* info) {
  played->isStamping = snd_seq_port_info_get_timestamping(info) != 0 && snd_seq_port_info_get_timestamp_real(info) != 0;
  snd_seq_port_info_set_port(info, 0);
  return 0;
}

int snd_seq_alloc_queue(snd_seq_t* /*handle*/) {
  return 0;
}

int snd_seq_control_queue(snd_seq_t* /*handle*/, int /*queue*/, int /*type*/, int /*value*/,
                          snd_seq_event_t* /*event*/) {
  return 0;
}

int snd_seq_drain_output(snd_seq_t* /*handle*/) {
  return 0;
}

int snd_seq_get_queue_status(snd_seq_t* /*handle*/, int /*queue*/, snd_seq_queue_status_t* /*status*/) {
  const std::int64_t now = vrel::system::test::queueNow();
  const std::lock_guard lock(played->mutex);
  played->queueTime = {static_cast<unsigned>(now / 1'000'000'000), static_cast<unsigned>(now % 1'000'000'000)};
  return 0;
}

const snd_seq_real_time_t* snd_seq_queue_status_get_real_time(const snd_seq_queue_status_t* /*status*/) {
  return &played->queueTime;
}

int snd_seq_query_next_client(snd_seq_t* /*handle*/, snd_seq_client_info_t* info) {
  const std::lock_guard lock(played->mutex);
  const int last = snd_seq_client_info_get_client(info);
  const PlayedSequencer::Port* next = nullptr;
  for (const auto& port : played->ports) {
    if (port.address.first > last && (next == nullptr || port.address.first < next->address.first)) {
      next = &port;
    }
  }
  if (next == nullptr) {
    return -ENOENT;
  }
  snd_seq_client_info_set_client(info, next->address.first);
  snd_seq_client_info_set_name(info, next->clientName.c_str());
  return 0;
}

int snd_seq_query_next_port(snd_seq_t* /*handle*/, snd_seq_port_info_t* info) {
  const std::lock_guard lock(played->mutex);
  const int client = snd_seq_port_info_get_client(info);
  constexpr int beforeTheFirst = 255;  // a port is one byte
  const int port = snd_seq_port_info_get_port(info);
  const int last = port == beforeTheFirst ? -1 : port;
  for (const auto& each : played->ports) {
    if (each.address.first == client && each.address.second > last) {
      snd_seq_port_info_set_port(info, each.address.second);
      snd_seq_port_info_set_name(info, each.name.c_str());
      snd_seq_port_info_set_capability(info, SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ);
      snd_seq_port_info_set_type(info, SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_HARDWARE);
      return 0;
    }
  }
  return -ENOENT;
}

int snd_seq_connect_from(snd_seq_t* /*handle*/, int /*port*/, int client, int port) {
  const std::lock_guard lock(played->mutex);
  return played->links.insert({client, port}).second ? 0 : -EBUSY;
}

int snd_seq_disconnect_from(snd_seq_t* /*handle*/, int /*port*/, int client, int port) {
  const std::lock_guard lock(played->mutex);
  return played->links.erase({client, port}) == 1 ? 0 : -ENOENT;
}

int snd_seq_poll_descriptors_count(snd_seq_t* /*handle*/, short /*events*/) {
  return 1;
}

int snd_seq_poll_descriptors(snd_seq_t* /*handle*/, pollfd* descriptors, unsigned /*space*/, short events) {
  descriptors[0] = {.fd = played->descriptor, .events = events, .revents = 0};
  return 1;
}

int snd_seq_event_input(snd_seq_t* /*handle*/, snd_seq_event_t** event) {
  const std::lock_guard lock(played->mutex);
  eventfd_t count = 0;
  ::eventfd_read(played->descriptor, &count);
  if (std::exchange(played->isOverrun, false)) {
    return -ENOSPC;
  }
  if (played->events.empty()) {
    return -EAGAIN;
  }
  played->current = played->events.front();
  played->events.pop_front();
  *event = &played->current;
  return 1;
}

}  // extern "C"
