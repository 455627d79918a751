extends Spatial

# What a game would attach: the strings and numbers that CargoComponent has.

export(String) var label = ""
export(float) var mass = 0.0
export(float) var volume = 0.0
