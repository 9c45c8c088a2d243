<?xml version="1.0" encoding="UTF-8"?>
<tileset version="1.9" name="harbour" tilewidth="8" tileheight="8" tilecount="4" columns="2">
 <image source="tiles.png" width="16" height="16"/>
</tileset>
