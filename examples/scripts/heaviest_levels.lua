-- Reports the levels that need most other files, directly or through others, the heaviest first.
--
--   vxdep scan && vxdep lua heaviest_levels.lua [COUNT [EXTENSION...]]
--
-- COUNT is 10 when it is left out, EXTENSION "scn".

local resources = require "resources"
local manager = require("vexa.vxdependency").CDependencyManager.get_singleton_ptr()

local count = tonumber(arg[1] or 10) or error(arg[1] .. " is no number of levels", 0)
local extensions = #arg > 1 and {table.unpack(arg, 2)} or {"scn"}

local levels = {}
for i, path in ipairs(resources.files("", extensions)) do
  levels[i] = {path = path, files = #manager:get_all_dependency(path)}
end
table.sort(levels, function(a, b)
  if a.files ~= b.files then return a.files > b.files end
  return a.path < b.path
end)
for i = 1, math.min(count, #levels) do
  print(("%6d  %s"):format(levels[i].files, levels[i].path))
end
