-- Calls of every method, right and wrong, and what comes of them. Runs in lua5.4 and in an embedded
-- state, in a project where levels/harbour.scene refers to props/barrel.scene and
-- textures/stone.tga, and the first of these to textures/wood.tga.
local class = require("vexa.vxdependency").CDependencyManager
local manager = class.get_singleton_ptr()
local users = manager:get_dependency("levels/harbour.scene", false)

local function equal(actual, expected, what)
  if actual ~= expected then
    error(("%s: %s instead of %s"):format(what, tostring(actual), tostring(expected)), 2)
  end
end

-- Before a scan may look at the folder.
manager:get_dependency(users[1], false)
os.rename("res/textures/stone.tga", "res/textures/gone.tga")
equal(table.concat(manager:get_all_dependency("levels/harbour.scene"):totable(), " "),
      "props/barrel.scene textures/wood.tga textures/stone.tga", "what is missing comes last")
os.rename("res/textures/gone.tga", "res/textures/stone.tga")

local function fails(call, message)
  local ok, raised = pcall(call)
  equal(not ok and raised:gsub("^[^:]*:%d+: ", ""), message, message)
end

local released = class.new()
released:__clear()
equal(tostring(released), "CDependencyManager(released)", "tostring")

local types = {string = "no/such.scene", boolean = true}
local selves = {["nil"] = {}, number = {1}, table = {class}, String = {users[1]}, Tuple = {users},
                ["released object"] = {released}, userdata = {io.stdout}}
local others = {string = {number = 5, boolean = true, Tuple = users, ["string with a zero byte"] = "a\0b",
                          CDependencyManager = manager},
                boolean = {number = 0, string = "true", String = users[1]}}
local methods = {
  {"generate_dependency", {"string"}, "Tuple"},
  {"get_dependency", {"string", "boolean"}, "Tuple"},
  {"get_all_dependency", {"string"}, "Tuple"},
  {"begin_scan", {}}, {"pause_scan", {}},
  {"rename", {"string", "string", "boolean"}, "true"},
  {"rename_folder", {"string", "string"}, "true"},
  {"remove", {"string"}, "true"},
}

for _, method in ipairs(methods) do
  local name, needed, result = table.unpack(method)
  local call, right = class[name], {}
  for i, needs in ipairs(needed) do right[i] = types[needs] end
  for self, value in pairs(selves) do
    fails(function() call(table.unpack(value, 1, 1)) end,
          ("invalid %s 'self', CDependencyManager needed."):format(self))
  end
  fails(function() call() end, "invalid no value 'self', CDependencyManager needed.")
  for count = 0, 6 do
    if count ~= #needed then
      fails(function() call(manager, table.unpack(right, 1, count)) end,
            ("error invalid argument number %d, needed %d."):format(count, #needed))
    end
  end
  for i, needs in ipairs(needed) do
    for other, value in pairs(others[needs]) do
      local wrong = {table.unpack(right)}
      wrong[i] = value
      fails(function() call(manager, table.unpack(wrong, 1, #needed)) end,
            ("invalid argument %s in %d, %s needed."):format(other, i + 1, needs))
    end
  end
  local results = table.pack(call(manager, table.unpack(right)))
  equal(results.n, result and 1 or 0, name)
  equal(result and tostring(results[1]):match("^%a+"), result, name)
end

fails(function() class.new(1) end, "error invalid argument number 1, needed 0.")
fails(function() manager:rename("a", "b") end, "error invalid argument number 2, needed 3.")
assert(not pcall(class.type, "CDependencyManager") and not pcall(class.__gc, users))

-- Identity, and what the class tells of itself.
equal(rawequal(class.get_singleton_ptr(), manager), true, "the singleton")
assert(class.new() ~= manager)
assert(tostring(manager):find("^CDependencyManager%(0x%x%x%x%x%x%x%x%x%x%x%x%x%)$"))
equal(manager:type() .. class:mro()[1] .. #manager:mro(), "CDependencyManagerCDependencyManager1", "mro")
equal(class:getProperties().lua_name, "CDependencyManager", "properties")
assert(rawget(class, "__vxlua_class") == true)

-- Tuples and boxed strings.
assert(tostring(users):find("^Tuple%(0x%x%x%x%x%x%x%x%x%x%x%x%x%)$"))
equal(tostring(users[1]), "String(props/barrel.scene)", "tostring")
equal(table.concat(users:totable(), " "), "props/barrel.scene textures/stone.tga", "totable")
equal(#users + #users[1], 20, "length")
for _, outside in ipairs {0, -1, 3, math.mininteger, math.maxinteger, 1.5, "x"} do
  equal(users[outside], nil, outside)
end
for _, walk in ipairs {pairs, ipairs} do
  local seen = {}
  for i, entry in walk(users) do seen[#seen + 1] = i .. entry:text() end
  equal(table.concat(seen, " "), "1props/barrel.scene 2textures/stone.tga", "walk")
end
local again = manager:get_dependency(manager:get_dependency("textures/stone.tga", true)[1], false)
assert(users[1] == again[1] and users[1] ~= users[2] and users ~= again and users == users)
assert(users[1] < users[2] and users[1] <= "q" and not ("q" < users[1]))
equal("res/" .. users[2] .. "!", "res/textures/stone.tga!", "concatenation")
for _, wrong in ipairs {"a[1] = 1", "b = a < a", "b = a .. ''", "pairs(a[1])", "a[1].text(a)", "b = a[1] < 1"} do
  assert(not pcall(load("local a, b = ... " .. wrong), users), wrong)
end

-- What the collector takes.
local kept = class.new()
for _ = 1, 3 do class.new():begin_scan() end
manager, users, again, released = nil, nil, nil, nil
collectgarbage()
equal(#class.get_singleton_ptr():get_dependency("levels/harbour.scene", false), 2, "afterwards")
equal(#kept:get_dependency("textures/stone.tga", true), 1, "by the second manager")
return "done"
