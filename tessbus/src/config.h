// The driver's configuration: which nets exist and what drives them.
#pragma once

#include "net.h"

#include <array>
#include <memory>
#include <string>

namespace tessbus {

using NetTable = std::array<std::shared_ptr<Net>, TESS_MAX_NETS>;

// Finds the configuration file (TESSBUS_CONFIG, then
// $XDG_CONFIG_HOME/tessbus.conf, then /etc/tessbus.conf) and builds its
// nets; without a file every SocketCAN interface becomes a net. Bad lines
// are reported on stderr as "file:line: message" and skipped.
NetTable loadConfiguredNets();

// Builds the nets of one configuration file. False when it can't be read.
bool loadConfigFile(const std::string& path, NetTable* nets);

} // namespace tessbus
