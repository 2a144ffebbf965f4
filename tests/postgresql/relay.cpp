// A relay before the plant: says where it listens, then does to its connections what each line of
// its input names, and answers with that line once it is in effect.

#include <cstdlib>
#include <iostream>
#include <map>

#include "testbed/fault_proxy.h"

int main(int /*count*/, char** arguments) {
    using nimb::test::Fault;
    const std::map<std::string, Fault> faults = {
        {"none", Fault::none},     {"cut", Fault::cut},           {"reset", Fault::reset},
        {"freeze", Fault::freeze}, {"halfOpen", Fault::halfOpen}, {"slow", Fault::slow}};
    nimb::test::FaultProxy proxy(static_cast<std::uint16_t>(std::atoi(arguments[1])));
    std::cout << proxy.url() << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
        proxy.set(faults.at(line));
        std::cout << line << std::endl;
    }
}
