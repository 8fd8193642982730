#pragma once

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

/// Reads "--name value" and "--flag" arguments; ends the program with status 2 for any other.
class RigArguments {
  public:
    void value(const std::string& name, std::function<void(const std::string&)> take) {
        values_[name] = std::move(take);
    }
    void flag(const std::string& name, bool& set) { flags_[name] = &set; }
    void read(int argc, char** argv) const {
        for (int i = 1; i < argc; ++i) {
            const std::string argument = argv[i];
            if (const auto found = flags_.find(argument); found != flags_.end()) {
                *found->second = true;
            } else if (const auto taker = values_.find(argument); taker != values_.end() && i + 1 < argc) {
                taker->second(argv[++i]);
            } else {
                std::fprintf(stderr, "%s: what is \"%s\"?\n", argv[0], argument.c_str());
                std::exit(2);
            }
        }
    }

  private:
    std::map<std::string, std::function<void(const std::string&)>> values_;
    std::map<std::string, bool*> flags_;
};
