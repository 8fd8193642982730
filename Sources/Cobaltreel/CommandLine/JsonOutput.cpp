#include "Cobaltreel/CommandLine/JsonOutput.hpp"

#include <iostream>

namespace cobaltreel {

void printJson(const OrderedJson& document) {
    std::cout << document.dump(2, ' ', false, OrderedJson::error_handler_t::replace) << '\n';
}

}  // namespace cobaltreel
