#pragma once

#include "runtime/ui/DBControls.h"

// The lists from which sites and employees are chosen: by name; their codes may be typed as well.

TLookupParams SiteLookup(TDataSource* sites);
TLookupParams EmployeeLookup(TDataSource* employees);
// Employees with the site and department they belong to.
TLookupParams EmployeeFilterLookup(TDataSource* employees);

// Completes what was typed into a lookup box from its list; runs on Enter and when the box is left.
void CompleteLookupText(TDBLookupComboboxEh& box);
// Makes the box choose from the list; what was typed is completed when the box is left.
void PrepareLookup(TDBLookupComboboxEh& box, const TLookupParams& lookup);
