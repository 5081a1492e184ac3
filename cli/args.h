#pragma once
// Command-line arguments of one osmera-cli command: positional words and --name VALUE
// options (also --name=VALUE). Options a command does not know are an error.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace osmera::cli {

// Exit codes shared by every command.
enum : int {
    kExitOk = 0,
    kExitFailed = 1,  // the work failed (unreadable input, write error)
    kExitUsage = 2,   // the command line is wrong
    kExitCancelled = 130,
};

class LArgs {
  public:
    // `valued` lists the options that take a value, `flags` those that do not.
    // On a bad command line Error() says what is wrong.
    LArgs(int argc, char** argv, const std::set<std::string>& valued,
          const std::set<std::string>& flags = {});

    const std::string& Error() const { return error_; }
    const std::vector<std::string>& Positional() const { return positional_; }
    bool Has(const std::string& option) const { return options_.count(option) != 0; }
    std::optional<std::string> Value(const std::string& option) const;
    // The option's whole-number value within [lo, hi]; `def` when absent. Sets Error()
    // and returns `def` when the value is not such a number.
    long IntValue(const std::string& option, long def, long lo, long hi);

  private:
    std::vector<std::string> positional_;
    std::map<std::string, std::string> options_;
    std::string error_;
};

// Prints "osmera-cli: <message>" on stderr.
void PrintError(const std::string& message);

// The exit code of a job that wrote `out` (kJobDone, kJobCancelled or kJobFailed), after
// saying on stderr why it did not finish: "interrupted; OUT was left as it was", or `message`.
int JobExitCode(int result, const std::string& out, const std::string& message);

// Quotes a value for key=value output when it holds spaces, quotes or backslashes, or is
// empty; always when `force`.
std::string QuoteValue(const std::string& value, bool force = false);

}  // namespace osmera::cli
