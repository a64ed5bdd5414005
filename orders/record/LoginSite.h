#pragma once

#include <QString>

// The site that the user is logged in at.

QString LoginSite(); // its name
// It sees every order.
bool IsAtHeadquarters();
// It works for everything under its finance centre.
bool IsAtCentre();
