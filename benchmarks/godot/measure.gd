extends SceneTree

# Loads and instances each workload once and prints "KILN <workload> <step> <microseconds>".

const INSTANCES = {"W1": 1, "W2": 1, "W3": 1, "W4": 10000}

func _idle(_delta):
	for workload in INSTANCES:
		measure(workload, INSTANCES[workload])
	quit()
	return true

func measure(workload, instances):
	var path = "res://%s.tscn" % workload
	var start = OS.get_ticks_usec()
	var scene = ResourceLoader.load(path, "", true)
	report(workload, "read", OS.get_ticks_usec() - start)

	var created = []
	start = OS.get_ticks_usec()
	for _i in range(instances):
		var node = scene.instance()
		get_root().add_child(node)
		created.append(node)
	report(workload, "create", OS.get_ticks_usec() - start)
	for node in created:
		node.free()

func report(workload, step, microseconds):
	print("KILN %s %s %d" % [workload, step, microseconds])
