#pragma once

#include "runtime/controls/DBControls.h"

#include <initializer_list>

// The lists from which sites, employees and counties are chosen: by name; codes may be typed as well.

TLookupParams SiteLookup(TDataSource* sites);
TLookupParams EmployeeLookup(TDataSource* employees);
// Employees with the site and department they belong to.
TLookupParams EmployeeFilterLookup(TDataSource* employees);
// Counties by name, with the city and province they lie in.
TLookupParams CountyLookup(TDataSource* counties);

// Completes what was typed into a lookup box from its list; runs on Enter and when the box is left.
void CompleteLookupText(TDBLookupComboboxEh& box);
// Makes the box choose from the list; what was typed is completed when the box is left.
void PrepareLookup(TDBLookupComboboxEh& box, const TLookupParams& lookup);
// A choice narrows the list that depends on it, as a province does its cities: only rows whose field has the
// text stay, and the boxes over the list are completed from what is left. An empty text narrows nothing.
void NarrowList(TClientDataSetEx& list, QStringView field, const QString& text,
    std::initializer_list<TDBLookupComboboxEh*> boxes);
