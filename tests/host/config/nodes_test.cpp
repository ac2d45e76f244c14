// Networks and their nodes, which are in a file of their own.
#include <gmock/gmock.h>

#include "host/config/load.h"
#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

std::string NodeText(const std::string& network, const std::string& id, const std::string& name) {
  return "[[node]]\nnetwork = \"" + network + "\"\nid = " + id + "\nname = \"" + name + "\"\n";
}

TEST(Nodes, AreANetworkANumberAndAName) {
  const Configuration configuration =
      ReadNodes(NodeText("10.0.0.0/8", "7", "office") + NodeText("192.0.2.1", "8", "gate"));
  EXPECT_THAT(configuration.nodes, ElementsAre(NodeSettings{0x0A000000, 8, 7, "office"},
                                               NodeSettings{0xC0000201, 32, 8, "gate"}));
}

TEST(Nodes, SeveralNetworksMayBelongToOne) {
  EXPECT_EQ(
      ReadNodes(NodeText("10.0.0.0/8", "7", "a") + NodeText("10.1.0.0/16", "7", "a")).nodes.size(),
      2U);
}

TEST(Nodes, OneNetworkIsThereOnce) {
  EXPECT_EQ(ProblemOfNodes(NodeText("10.0.0.0/8", "7", "a") + NodeText("10.0.0.0/8", "8", "b")),
            "/n.toml:6:11: network = \"10.0.0.0/8\" is there already, at /n.toml:2:11");
}

TEST(Nodes, OneHasOneNameAndANameIsOfOne) {
  EXPECT_EQ(ProblemOfNodes(NodeText("10.0.0.0/8", "7", "a") + NodeText("11.0.0.0/8", "7", "b")),
            "/n.toml:8:8: node 7 is called \"a\" at /n.toml:4:8");
  EXPECT_EQ(ProblemOfNodes(NodeText("10.0.0.0/8", "7", "a") + NodeText("11.0.0.0/8", "8", "a")),
            "/n.toml:7:6: \"a\" is node 7 at /n.toml:3:6");
}

TEST(Nodes, BadValuesAreRefused) {
  EXPECT_EQ(ProblemOfNodes(NodeText("10.0.0.1/8", "7", "a")),
            "/n.toml:2:11: network = \"10.0.0.1/8\": it has bits behind its prefix, the network is "
            "10.0.0.0/8; give an IPv4 network, such as \"10.0.0.0/8\"");
  EXPECT_EQ(ProblemOfNodes(NodeText("10.0.0.0/8", "0", "a")),
            "/n.toml:3:6: id = 0: that is too small; give a whole number from 1 to 4294967295, "
            "such as 7");
  EXPECT_EQ(ProblemOfNodes(NodeText("10.0.0.0/8", "4294967296", "a")),
            "/n.toml:3:6: id = 4294967296: that is too large; give a whole number from 1 to "
            "4294967295, such as 7");
  EXPECT_EQ(ProblemOfNodes(NodeText("10.0.0.0/8", "7", "")),
            "/n.toml:4:8: name = \"\": it is empty; give a text of 1 to 63 bytes, such as "
            "\"office\"");
  EXPECT_EQ(ProblemOfNodes("[[node]]\nnetwork = 10\nid = 7\nname = \"a\"\n"),
            "/n.toml:2:11: network = 10: give an IPv4 network, such as \"10.0.0.0/8\"");
}

TEST(Nodes, EveryKeyHasToBeGiven) {
  EXPECT_EQ(ProblemOfNodes("[[node]]\n"),
            "/n.toml:1:1: [[node]] has no 'network': give an IPv4 network, such as \"10.0.0.0/8\"\n"
            "/n.toml:1:1: [[node]] has no 'id': give a whole number from 1 to 4294967295, such as "
            "7\n"
            "/n.toml:1:1: [[node]] has no 'name': give a text of 1 to 63 bytes, such as "
            "\"office\"");
}

TEST(Nodes, NothingElseIsInTheFile) {
  EXPECT_EQ(ProblemOfNodes("[[nodes]]\n"),
            "/n.toml:1:3: unknown key 'nodes' in a file of nodes; did you mean 'node'?");
  EXPECT_EQ(ProblemOfNodes("[[node]]\nnetwork = \"10.0.0.0/8\"\nid = 7\nname = \"a\"\nnam = 1\n"),
            "/n.toml:5:1: unknown key 'nam' in [[node]]; did you mean 'name'?");
}

TEST(Nodes, AreNoPartOfTheConfigurationItself) {
  EXPECT_EQ(ProblemOf("[[node]]\nid = 7\n"),
            "c.toml:1:3: unknown key 'node'; there are log_group, capture, journal, rule, events, "
            "flags, exclusion, socket, metrics, limits, sync, log, directory, user, intake, "
            "nodes_file");
}

TEST(Nodes, AFileThatCannotBeReadIsAProblemOfTheKeyThatNamesIt) {
  Surroundings surroundings = SmallSystem();
  surroundings.read_file = ReadTextFile;
  try {
    ParseConfiguration("\nnodes_file = \"/nowhere/n.toml\"\n", "c.toml", surroundings);
    ADD_FAILURE() << "not refused";
  } catch (const ConfigurationError& error) {
    EXPECT_THAT(error.problems(),
                ElementsAre("c.toml:2:14: nodes_file: /nowhere/n.toml cannot be read: No such file "
                            "or directory"));
  }
}

TEST(Nodes, MayBeAHundredThousand) {
  std::string text;
  for (int i = 0; i < 100000; ++i) {
    text += NodeText(std::to_string(1 + i / 65536) + "." + std::to_string(i / 256 % 256) + "." +
                         std::to_string(i % 256) + ".0/24",
                     std::to_string(i + 1), "n" + std::to_string(i));
  }
  EXPECT_EQ(ReadNodes(text).nodes.size(), 100000U);
  EXPECT_EQ(ProblemOfNodes(text + NodeText("200.0.0.0/8", "200000", "more")),
            "/n.toml:400001:1: there are more than 100000 of [[node]]");
}

TEST(Nodes, AThousandProblemsAreToldOneByOne) {
  std::string text;
  for (int i = 0; i < 1003; ++i) text += "[[node]]\nx = 1\n";
  Surroundings surroundings = SmallSystem(text);
  try {
    ParseConfiguration("nodes_file = \"/n.toml\"\n", "c.toml", surroundings);
    ADD_FAILURE() << "not refused";
  } catch (const ConfigurationError& error) {
    ASSERT_EQ(error.problems().size(), 1001U);
    EXPECT_EQ(error.problems().back(), "and 3012 problems more");
  }
}

}  // namespace
}  // namespace packetdb::host::test
