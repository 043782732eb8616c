-- Processes: bodies that move, rotate, query and end in every way, and acts that create and end
-- them.

local chance = require "chance"
local world = require "world"

local below, between, one_in, pick = chance.below, chance.between, chance.one_in, chance.pick

local acts, act = chance.acts()

-- ---- Bodies -------------------------------------------------------------------------------------

local function change(self)
  local form = below(10)
  if form == 0 then
    self.angle = world.angle()
  elseif form == 1 then
    self.size = world.size()
  elseif form == 2 then
    self.size_x, self.size_y = world.size(), world.size()
  elseif form == 3 then
    self.shear_x, self.shear_y, self.tfmorder = world.shear(), world.shear(), below(6)
  elseif form == 4 then
    self.flags, self.alpha, self.fxmode, self.fxcolor, self.fxintensity = world.look()
  elseif form == 5 then
    self.region, self.z, self.resolution = world.region(), between(-20, 20), pick { 0, 0, 1, 2, -1 }
  elseif form == 6 then
    self.file, self.graph = world.graph()
  elseif form == 7 then
    self.destination_file, self.destination_graph = 0, 0
    if one_in(3) then self.destination_file, self.destination_graph = world.graph() end
  elseif form == 8 then
    self.visible = one_in(4) and 0 or 1
    if one_in(3) then
      self.angle, self.size, self.size_x, self.size_y, self.shear_x, self.shear_y = 0, 100, 100, 100, 0, 0
    end
  else
    if self.xgraph then
      self.xgraph = nil
    else
      local codes = {}
      for i = 1, between(1, 9) do codes[i] = one_in(4) and -world.loose() or world.loose() end
      self.file, self.xgraph = 0, codes
    end
  end
end

local function other(self)
  return #world.processes > 0 and pick(world.processes) or self
end

-- Queries don't influence the run: ids are addresses, which differ from run to run.
local function ask(self)
  local form = below(9)
  if form == 0 then
    collision(pick { 0, -1, self.type })
  elseif form == 1 then
    collision(other(self).id)
    collision(world.x(), world.y(), self.type)
  elseif form == 2 then
    overlap(pick { 0, -1, self.type })
    overlap(world.x(), world.y(), 0)
  elseif form == 3 then
    overlap(self.id, other(self).id)
    collision_set_alphathreshold(below(255))
  elseif form == 4 then
    get_angle(other(self))
    get_dist(other(self))
    get_distsq(self, other(self))
  elseif form == 5 then
    advance(between(-3, 3))
    xadvance(world.angle(), between(-3, 3))
  elseif form == 6 then
    map_get_realcpoint(one_in(4) and below(3) or 0)
  elseif form == 7 then
    region_is_out(self, world.region())
    region_is_xout(self, world.region())
  else
    local file, graph = world.graph()
    region_is_out(file, graph, world.x(), world.y(), world.region())
  end
end

local function move(self)
  self.x = math.max(-50, math.min(self.x + below(5) - 2, 300))
  self.y = math.max(-50, math.min(self.y + below(5) - 2, 300))
  if one_in(4) then change(self) end
  if one_in(6) then ask(self) end
end

local function walker(self, life)
  for _ = 1, life do
    move(self)
    frame()
  end
  if one_in(4) then kill(self) end
end

-- Has a to-be-closed variable, which is closed however the process ends.
local closing = { __close = function() world.closed = world.closed + 1 end }
local function closer(self, life)
  world.opened = world.opened + 1
  local _ <close> = setmetatable({}, closing)
  walker(self, life)
end

-- Has its own fields, its own coroutine, and children.
local function parent(self, life)
  self.notes = { string.rep("note", below(20)) }
  local count = coroutine.wrap(function()
    for i = 1, life do coroutine.yield(i) end
  end)
  for _ = 1, life do
    self.age = count()
    if one_in(12) and not world.full "processes" then
      world.enter("processes", spawn(walker, { graph = self.graph, x = self.x, y = self.y }, below(30)))
    end
    move(self)
    frame()
  end
end

local bodies = { walker, walker, closer, parent }

function acts.spawn()
  local file, graph = world.graph()
  return world.enter("processes", spawn(pick(bodies), { file = file, graph = graph, x = world.x(),
    y = world.y(), z = between(-20, 20), angle = one_in(2) and 0 or world.angle(),
    size = one_in(2) and 100 or world.size() }, between(1, 120)))
end

-- ---- Acts ---------------------------------------------------------------------------------------

act(24, function()
  world.forget_dead()
  if not world.full "processes" then acts.spawn() end
end)

act(6, function()
  if #world.processes == 0 then return end
  local p = chance.take(world.processes)
  if one_in(2) then kill(p) else kill(p.id) end
  world.agree("alive of a killed process", alive(p) and 1 or 0, 0)
end)

act(4, function()
  if #world.processes == 0 then return end
  local p = pick(world.processes)
  pick { sleep, freeze, wake, wake }(p)
end)

return acts
