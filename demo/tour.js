// The guided tour: an ordinary day at the windows, played and checked step by step. Played by
// `zelmor-host --tour`; pictures go to the folder for screenshots.

include("tour/steps.js");
include("tour/acceptance.js");
include("tour/layout.js");
include("tour/headquarters.js");
include("tour/pickup.js");
include("tour/correction.js");
include("tour/sites.js");
include("tour/distribution.js");
include("tour/entry.js");
include("tour/dispatch.js");
include("tour/query.js");
include("tour/overdue.js");
include("tour/centre.js");
include("tour/lists.js");
include("tour/preferences.js");
include("tour/collect.js");
include("tour/keyboard.js");
include("tour/road.js");
include("tour/desk.js");
print("Tour complete.");
