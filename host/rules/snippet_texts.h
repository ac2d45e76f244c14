// The texts of snippets. Names between % signs stand for what is set: %GROUP% for its number, %TO%
// and %TO-NFLOG% for where to and how much of it, in the words of nft and of iptables, %NEW% for
// new connections in those of iptables.
#pragma once

#include <string_view>

namespace packetdb::host {

// A table of its own behind the filters: what gets there was let through. `ip`, because journals
// hold IPv4. Added first, so that it can be deleted whether it was there or not.
inline constexpr std::string_view kNftablesText =
    R"(# packetdb: what nftables does goes to log group %GROUP%.
# Load:      nft -f FILE       (again after a change: it replaces itself)
# Take away: nft delete table ip packetdb
table ip packetdb
delete table ip packetdb

# New connections that your own chains let through. These chains come behind theirs (priority
# filter, firewalld's filter + 10), and what was dropped there does not get here.
table ip packetdb {
  chain input {
    type filter hook input priority security; policy accept;
    iifname != "lo" ct state new log prefix "pdb:input:new:accept" %TO% counter
  }
  chain forward {
    type filter hook forward priority security; policy accept;
    ct state new log prefix "pdb:forward:new:accept" %TO% counter
  }
  chain output {
    type filter hook output priority security; policy accept;
    oifname != "lo" ct state new log prefix "pdb:output:new:accept" %TO% counter
  }
}

# What is refused, the rule that refuses it has to log. Write such rules in your own chains, each
# with a prefix of its own, pdb:<chain>:<rule>:<verdict>; the verdict in it is believed:
#   tcp dport 23 log prefix "pdb:input:telnet:reject" %TO% counter reject
# and, last in a chain whose policy is drop:
#   log prefix "pdb:input:rest:drop" %TO% counter drop
)";

// The table `security` is behind the table `filter`.
inline constexpr std::string_view kIptablesText =
    R"(# packetdb: what iptables does goes to log group %GROUP%.
# Load once, or each time the machine starts: iptables-restore --noflush < FILE

# New connections that the filter lets through. The table security comes behind the table filter,
# and what was dropped there does not get here.
*security
-A INPUT ! -i lo %NEW% -j NFLOG --nflog-prefix "pdb:input:new:accept" %TO-NFLOG%
-A FORWARD %NEW% -j NFLOG --nflog-prefix "pdb:forward:new:accept" %TO-NFLOG%
-A OUTPUT ! -o lo %NEW% -j NFLOG --nflog-prefix "pdb:output:new:accept" %TO-NFLOG%
COMMIT

# What is refused has to be logged by whoever refuses it. Nothing uses this chain yet: jump to it
# where you dropped, and last in INPUT and FORWARD if their policy is DROP:
#   iptables -A INPUT -p tcp --dport 23 -j PDB-DROP
# For rows that tell one rule from another, make a chain for each, with a prefix of its own of at
# most 63 bytes, pdb:<chain>:<rule>:<verdict>; the verdict in it is believed.
*filter
:PDB-DROP - [0:0]
-A PDB-DROP -j NFLOG --nflog-prefix "pdb:filter:refused:drop" %TO-NFLOG%
-A PDB-DROP -j DROP
COMMIT
)";

inline constexpr std::string_view kFirewalldText = R"(#!/bin/sh
# packetdb: what firewalld refuses in its zone public goes to log group %GROUP%.
# Run it as root. To take a rule away, --remove-rich-rule instead of --add-rich-rule.
# How much of a packet is copied cannot be said here: the copy_range of packetdbd's [[log_group]]
# holds.
set -e
add_rule() {
  firewall-cmd --permanent --zone=public --add-rich-rule="$*"
}

# The last rules of the zone: what no other has taken. They only log. The verdict in the prefix is
# believed: a zone without a target of its own rejects, for one whose target is DROP write :drop.
last='rule priority="32767" family="ipv4"'
add_rule "$last" 'protocol value="tcp" nflog group="%GROUP%" prefix="pdb:public:rest-tcp:reject"'
add_rule "$last" 'protocol value="udp" nflog group="%GROUP%" prefix="pdb:public:rest-udp:reject"'
firewall-cmd --reload

# A rule of your own logs and decides in one, with a prefix of its own,
# pdb:<chain>:<rule>:<verdict>:
#   add_rule 'rule family="ipv4" source address="192.0.2.0/24"' \
#     'nflog group="%GROUP%" prefix="pdb:public:unwanted:drop" drop'
# What is let through: packetdb rules print --for nftables. Its table works beside firewalld's.
)";

inline constexpr std::string_view kUfwText =
    R"(# packetdb: what ufw refuses goes to log group %GROUP%.
# Append this to /etc/ufw/after.rules, behind its COMMIT, then: ufw reload

# What no rule of ufw has taken: the default policy decides. The verdict in the prefix is believed:
# where "ufw status verbose" says reject instead of deny, write :reject.
*filter
-A ufw-after-input -j NFLOG --nflog-prefix "pdb:ufw-input:default:drop" %TO-NFLOG%
-A ufw-after-forward -j NFLOG --nflog-prefix "pdb:ufw-forward:default:drop" %TO-NFLOG%
COMMIT

# What is let through: packetdb rules print --for nftables. Its table works beside ufw's.
)";

}  // namespace packetdb::host
