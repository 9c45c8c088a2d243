-- Finds the files of a project. The manager answers by path; which paths there are the file system
-- tells, through the program "find".

local resources = {}

local function quoted(text)
  return "'" .. text:gsub("'", "'\\''") .. "'"
end

local function extension(path)
  return (path:match("%.([^./]*)$") or ""):lower()
end

-- The files below a folder of res/ ("" for all of res/) that have one of the extensions, sorted, as
-- paths relative to res/.
function resources.files(folder, extensions)
  local wanted = {}
  for _, name in ipairs(extensions) do wanted[name:lower()] = true end
  local start = "res/" .. folder:gsub("/+$", "")
  local pipe = assert(io.popen("find " .. quoted(start) .. " -type f"))
  local files = {}
  for line in pipe:lines() do
    local path = line:gsub("^res/+", "")
    if wanted[extension(path)] then files[#files + 1] = path end
  end
  assert(pipe:close(), start .. ": the folder cannot be read")
  table.sort(files)
  return files
end

return resources
