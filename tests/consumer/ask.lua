-- Who refers to a file, by the installed module and rules.
local manager = require("vexa.vxdependency").CDependencyManager.get_singleton_ptr()
for _, user in ipairs(manager:get_dependency(arg[1], true)) do print(user:text()) end
