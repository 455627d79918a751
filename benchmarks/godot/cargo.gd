extends Spatial

# The script of a game: the same string and numbers as CargoComponent.

export(String) var label = ""
export(float) var mass = 0.0
export(float) var volume = 0.0
