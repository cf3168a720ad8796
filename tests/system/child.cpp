// A program for the tests of child processes: child VERB [ARGUMENT].
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "platform/process.h"

int main(int count, char** values) {
  vemko::prepareProcess();
  const std::string verb = count > 1 ? values[1] : "", argument = count > 2 ? values[2] : "0";
  std::string line;
  if (verb == "answer") {
    while (std::getline(std::cin, line)) std::cout << argument << ' ' << line << std::endl;
    std::cout << "last";
  } else if (verb == "long") {
    std::cout << std::string(1000000, 'x') << "\n\nend";
  } else if (verb == "flood") {
    std::cout << std::string(1000000, '\0') << std::flush;
    return std::stoi(argument);
  } else if (verb == "exit") {
    return std::stoi(argument);
  } else if (verb == "crash") {
    __builtin_trap();
  } else if (verb == "raise") {
    std::raise(std::stoi(argument));
    return 3;
  } else if (verb == "halves") {
    std::cout << "first " << std::flush;
    std::getline(std::cin, line);
    std::cout << "second" << std::endl;
    std::getline(std::cin, line);
  } else if (verb == "two") {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    std::cout << "a\nb" << std::endl;
    std::getline(std::cin, line);
  } else if (verb == "wait") {
    std::getline(std::cin, line);
  } else if (verb == "words") {
    for (int i = 2; i < count; ++i) std::cout << values[i] << '\n';
  }
  return 0;
}
