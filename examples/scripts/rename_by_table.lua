-- Renames files by a table of old and new names, and with them every reference to them.
--
--   vxdep scan && vxdep lua rename_by_table.lua TABLE
--
-- TABLE is a text file with one rename a line: the old path, a tab, the new path, both relative to
-- res/. Where a spreadsheet saves its columns separated by tabs, that is the file. The folders of
-- new paths must be there. For a single file or folder, "vxdep rename OLD NEW" does the same.
--
-- The whole table is checked before anything moves. When one rename fails, its file goes back, and
-- the script ends there with an error; the renames before it stay.

local manager = require("vexa.vxdependency").CDependencyManager.get_singleton_ptr()

local function exists(path)
  local file = io.open("res/" .. path, "rb")
  return file ~= nil and file:close()
end

local function read(name)
  local renames, number = {}, 0
  for line in io.lines(name) do
    number = number + 1
    local old, new = line:match("^([^\t]+)\t([^\t\r]+)\r?$")
    if old then
      renames[#renames + 1] = {old = old, new = new, where = name .. ":" .. number .. ": "}
    elseif line:find("%S") then
      error(name .. ":" .. number .. ": not an old path, a tab and a new path", 0)
    end
  end
  return renames
end

local function check(renames)
  local used = {}
  for _, rename in ipairs(renames) do
    if not exists(rename.old) then error(rename.where .. rename.old .. ": no such file", 0) end
    for _, path in ipairs {rename.new, rename.new .. ".vxmeta"} do
      if exists(path) then error(rename.where .. path .. ": is there already", 0) end
    end
    for _, path in ipairs {rename.old, rename.new} do
      if used[path] then error(rename.where .. path .. ": named twice", 0) end
      used[path] = true
    end
  end
end

-- Moves a file, and with it the file of its settings.
local function move(from, to)
  local moved, reason = os.rename("res/" .. from, "res/" .. to)
  if moved and exists(from .. ".vxmeta") then
    moved, reason = os.rename("res/" .. from .. ".vxmeta", "res/" .. to .. ".vxmeta")
    if not moved then os.rename("res/" .. to, "res/" .. from) end
  end
  return moved, reason
end

local renames = read(arg[1] or error("give the table of old and new names", 0))
check(renames)
for _, rename in ipairs(renames) do
  local moved, reason = move(rename.old, rename.new)
  if not moved then error(rename.where .. reason, 0) end
  -- "rename" follows a file that has moved: it rewrites what refers to it.
  if not manager:rename(rename.old, rename.new, false) then
    assert(move(rename.new, rename.old))
    error(rename.where .. rename.old .. " cannot be renamed; the messages above tell why", 0)
  end
  print(rename.old .. " -> " .. rename.new)
end
