-- Lists the textures that no file refers to.
--
--   vxdep scan && vxdep lua unused_textures.lua [FOLDER]
--
-- FOLDER is relative to res/; without one all of res/ is looked through.

local resources = require "resources"
local manager = require("vexa.vxdependency").CDependencyManager.get_singleton_ptr()

local images = {"png", "tga", "dds", "bmp", "jpg", "exr", "hdr", "ktx"}

for _, texture in ipairs(resources.files(arg[1] or "", images)) do
  if #manager:get_dependency(texture, true) == 0 then print(texture) end
end
