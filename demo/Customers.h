#pragma once

#include "demo/Generator.h"
#include "demo/Network.h"

namespace demo {

// A shop that a branch collects from.
struct Customer {
    QString code;
    QString name;
    QString fullName;
    QString contact;
    QString phone;
    QString address;
    QString balanceMode; // payment words separated by ";"
    int site = 0;
    int county = 0; // of the site's city
};

inline constexpr int kCustomersOfBranch = 6;

// kCustomersOfBranch for every collecting site, in the order of Network::branches.
const std::vector<Customer>& TheCustomers();
void WriteCustomers(company::RowSink& sink);

} // namespace demo
