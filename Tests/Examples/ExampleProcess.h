// Runs the examples like an integrator, in each of their languages.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ServiceProcess.h"

/// The program and its first arguments.
struct Language {
  std::string name;
  std::vector<std::string> command;
};

/// One example in both languages; `script` is its file in Python.
inline std::vector<Language> LanguagesOf(const std::string& script) {
  return {{"Cpp", {EXAMPLE_BINARY}}, {"Python", {DEBIAN_PYTHON, EXAMPLES_DIR "/" + script}}};
}

inline std::unique_ptr<ServiceProcess> StartExample(const Language& language,
                                                    const std::vector<std::string>& arguments) {
  std::vector<std::string> words(language.command.begin() + 1, language.command.end());
  words.insert(words.end(), arguments.begin(), arguments.end());
  return std::make_unique<ServiceProcess>(language.command.front(), words);
}
