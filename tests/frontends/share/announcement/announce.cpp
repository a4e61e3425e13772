// An announcement for the tests, which obeys the lines of standard input and prints what is reported:
//
//   announce NAME network|this-machine|nobody
//   publish PORT KEY=VALUE...    withdraw    name

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "Announcement.h"

namespace {

using namespace frontend::share;

AnnouncementReach reachFrom(const std::string& word) {
  if (word == "network") return AnnouncementReach::network;
  return word == "this-machine" ? AnnouncementReach::thisMachine : AnnouncementReach::nobody;
}

// One write for each line: two threads print.
void print(const std::string& line) {
  const std::string whole = line + "\n";
  if (write(STDOUT_FILENO, whole.data(), whole.size()) < 0) std::perror("announce");
}

void obey(Announcement& announcement, const std::string& line) {
  std::istringstream words(line);
  std::string command;
  words >> command;
  if (command == "name") print("name: " + announcement.name());
  if (command == "withdraw") announcement.withdraw();
  if (command != "publish") return;
  std::uint16_t port = 0;
  words >> port;
  const std::vector<std::string> text{std::istream_iterator<std::string>(words), {}};
  announcement.publish({{"_uscan._tcp", port, text}, {"_uscans._tcp", port, text}});
}

}  // namespace

int main(int count, char** words) {
  if (count != 3) return 2;
  Announcement announcement(words[1], reachFrom(words[2]), print);
  print("begun");
  for (std::string line; std::getline(std::cin, line);) obey(announcement, line);
}
