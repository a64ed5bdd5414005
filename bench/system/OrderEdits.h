#pragma once

#include <QString>

#include <optional>
#include <vector>

class TClientDataSetEx;

// One order of the save that is measured, for a peer that asks for the old values as a save does.
struct OrderEdit {
    QString order;
    std::optional<qint64> status;
    QString receivingSite, candidates;
    QString oldRemark, oldMessage, remark, message;
    std::optional<double> oldWeight;
    double weight = 0;
};

// Gives every order another remark, message and weight, other ones each round; and the same for a peer.
void EditEveryOrder(TClientDataSetEx& orders, int round);
std::vector<OrderEdit> EditsOfEveryOrder(TClientDataSetEx& orders, int round);
