// kelconv's command line.
#include "tools/kelconv/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kelconv::Options;
using kelconv::parseCommandLine;

Options parsed(const std::vector<std::string>& arguments) {
  const kelconv::ParsedCommandLine result = parseCommandLine(arguments);
  EXPECT_EQ(result.error, "");
  return result.options;
}

std::string errorOf(const std::vector<std::string>& arguments) {
  return parseCommandLine(arguments).error;
}

TEST(CommandLine, DefaultsConvertStandardInputWithTheReplacePolicy) {
  const Options options = parsed({});
  EXPECT_EQ(options.action, Options::Action::kConvert);
  EXPECT_EQ(options.from, "");
  EXPECT_EQ(options.to, "");
  EXPECT_TRUE(options.inputs.empty());
  EXPECT_EQ(options.policy, kelconv::Policy::kReplace);
  EXPECT_FALSE(options.strict);
  EXPECT_FALSE(options.addByteOrderMark);
  EXPECT_EQ(options.progress, kelconv::ProgressMode::kAuto);
}

TEST(CommandLine, ShortOptionsTakeTheirValueAttachedOrNext) {
  const Options options = parsed({"-f", "UTF-8", "-tCP1252", "-o", "out.txt", "in.txt"});
  EXPECT_EQ(options.from, "UTF-8");
  EXPECT_EQ(options.to, "CP1252");
  EXPECT_EQ(options.output, "out.txt");
  EXPECT_EQ(options.inputs, std::vector<std::string>{"in.txt"});
}

TEST(CommandLine, LongOptionsTakeTheirValueAfterAnEqualsSignOrNext) {
  const Options options =
      parsed({"--from-code=UTF-8", "--to-code", "LATIN1", "--output=o", "--policy", "escape"});
  EXPECT_EQ(options.from, "UTF-8");
  EXPECT_EQ(options.to, "LATIN1");
  EXPECT_EQ(options.output, "o");
  EXPECT_EQ(options.policy, kelconv::Policy::kEscape);
}

TEST(CommandLine, FlagsAndFilesMayComeInAnyOrder) {
  const Options options = parsed({"a", "--strict", "-", "--bom", "b", "--no-progress"});
  EXPECT_EQ(options.inputs, (std::vector<std::string>{"a", "-", "b"}));
  EXPECT_TRUE(options.strict);
  EXPECT_TRUE(options.addByteOrderMark);
  EXPECT_EQ(options.progress, kelconv::ProgressMode::kNever);
  EXPECT_EQ(parsed({"--progress"}).progress, kelconv::ProgressMode::kAlways);
  EXPECT_EQ(parsed({"--policy=stop"}).policy, kelconv::Policy::kStop);
}

TEST(CommandLine, DoubleDashEndsTheOptions) {
  EXPECT_EQ(parsed({"--", "-l", "--strict"}).inputs,
            (std::vector<std::string>{"-l", "--strict"}));
}

TEST(CommandLine, ListHelpAndVersionAreActions) {
  EXPECT_EQ(parsed({"-l"}).action, Options::Action::kList);
  EXPECT_EQ(parsed({"--list"}).action, Options::Action::kList);
  EXPECT_EQ(parsed({"-h"}).action, Options::Action::kHelp);
  EXPECT_EQ(parsed({"--help"}).action, Options::Action::kHelp);
  EXPECT_EQ(parsed({"-V"}).action, Options::Action::kVersion);
  EXPECT_EQ(parsed({"--version"}).action, Options::Action::kVersion);
}

TEST(CommandLine, AnUnknownOptionIsAnError) {
  EXPECT_EQ(errorOf({"-x"}), "unknown option '-x'");
  EXPECT_EQ(errorOf({"--from=UTF-8"}), "unknown option '--from=UTF-8'");
}

TEST(CommandLine, AMissingValueIsAnError) {
  EXPECT_EQ(errorOf({"-f"}), "option '-f' needs a character set");
  EXPECT_EQ(errorOf({"--to-code="}), "option '--to-code=' needs a character set");
  EXPECT_EQ(errorOf({"-o"}), "option '-o' needs a file name");
}

TEST(CommandLine, AnUnknownPolicyIsAnError) {
  EXPECT_EQ(errorOf({"--policy=ignore"}), "--policy takes replace, escape or stop, not 'ignore'");
}

TEST(CommandLine, HelpNamesEveryOption) {
  const std::string help = kelconv::helpText();
  for (const char* option : {"--from-code", "--to-code", "--output", "--list", "--policy",
                             "--strict", "--bom", "--progress", "--no-progress", "--help",
                             "--version"}) {
    EXPECT_NE(help.find(option), std::string::npos) << option;
  }
}

}  // namespace
