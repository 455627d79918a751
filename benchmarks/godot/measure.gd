extends SceneTree

# Loads and creates each workload several times and prints "KILN <workload> <step> <microseconds>" for each time.

const INSTANCES = {"W1": 1, "W2": 1, "W3": 1, "W4": 10000}
const REPETITIONS = {"W1": 20, "W2": 20, "W3": 3, "W4": 3}

func _idle(_delta):
	for workload in INSTANCES:
		var scene
		for _i in range(REPETITIONS[workload]):
			scene = read(workload)
		for _i in range(REPETITIONS[workload]):
			create(workload, scene, INSTANCES[workload])
	quit()
	return true

func read(workload):
	var start = OS.get_ticks_usec()
	var scene = ResourceLoader.load("res://%s.tscn" % workload, "", true)
	report(workload, "read", OS.get_ticks_usec() - start)
	return scene

func create(workload, scene, instances):
	var created = []
	var start = OS.get_ticks_usec()
	for _i in range(instances):
		var node = scene.instance()
		get_root().add_child(node)
		created.append(node)
	report(workload, "create", OS.get_ticks_usec() - start)
	for node in created:
		node.free()

func report(workload, step, microseconds):
	print("KILN %s %s %d" % [workload, step, microseconds])
