<?xml version="1.0" encoding="UTF-8"?>
<tileset version="1.9" name="cargo" tilewidth="16" tileheight="16" tilecount="1" columns="0">
 <tile id="0"><image source="crate.png" width="16" height="16"/></tile>
</tileset>
