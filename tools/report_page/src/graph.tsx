import { select } from "d3-selection";
import { zoom, zoomIdentity, type ZoomBehavior } from "d3-zoom";
import { useEffect, useMemo, useRef, useState } from "preact/hooks";
import type { Navigation } from "./app";
import { Field } from "./field";
import { counted, Model } from "./model";

/** The size of a node, as tools/kiln_prefab/report/graph_layout.h has it. */
const WIDTH = 168;
const HEIGHT = 30;
const MAX_LETTERS = 24;

/** Nodes of larger graphs have no tooltips, so that they are drawn sooner. */
const MAX_TITLES = 300;

interface Node {
  file: number;
  x: number;
  y: number;
}

function label(path: string): string {
  const name = path.slice(path.lastIndexOf("/") + 1).replace(/\.prefab$/, "");
  return name.length > MAX_LETTERS ? name.slice(0, MAX_LETTERS - 1) + "…" : name;
}

interface Drawn {
  nodes: Node[];
  lines: number[][];
}

function wholeGraph(model: Model): Drawn {
  const { x, y } = model.data.files;
  return { nodes: x.map((left, file) => ({ file, x: left, y: y[file]! })), lines: model.data.edges.line };
}

function neighbourhood(model: Model, file: number): Drawn {
  const { drawing, files } = model.data.neighbourhoods;
  const { x, y, line } = model.data.drawings[drawing[file]!]!;
  return { nodes: files[file]!.map((node, i) => ({ file: node, x: x[i]!, y: y[i]! })), lines: line };
}

/** The node in a direction from another one: near, and more in that direction than beside it. */
function nodeTowards(nodes: Node[], from: Node, dx: number, dy: number): Node | null {
  let best: Node | null = null;
  let bestCost = Infinity;
  for (const node of nodes) {
    const along = (node.x - from.x) * dx + (node.y - from.y) * dy;
    const beside = Math.abs((node.x - from.x) * dy) + Math.abs((node.y - from.y) * dx);
    const cost = along + 2 * beside;
    if (along > 1 && cost < bestCost) {
      best = node;
      bestCost = cost;
    }
  }
  return best;
}

const DIRECTIONS: Record<string, [number, number]> = {
  ArrowLeft: [-1, 0],
  ArrowRight: [1, 0],
  ArrowUp: [0, -1],
  ArrowDown: [0, 1],
};

interface Props {
  model: Model;
  file: number;
  onFile(file: number): void;
  navigation: Navigation;
}

export function GraphView({ model, file, onFile, navigation }: Props) {
  const [isWhole, setWhole] = useState(false);
  const [active, setActive] = useState(file); // Has the focus within the graph.
  const svg = useRef<SVGSVGElement>(null);
  const drawing = useRef<SVGGElement>(null);
  const behaviour = useRef<ZoomBehavior<SVGSVGElement, unknown> | null>(null);
  const wantsFocus = useRef(false);

  const { nodes, lines } = useMemo(
    () => (isWhole ? wholeGraph(model) : neighbourhood(model, file)),
    [model, isWhole, isWhole ? -1 : file],
  );
  const leftOut = isWhole ? 0 : model.data.neighbourhoods.leftOut[file]!;
  const activeNode = nodes.find((node) => node.file === active) ?? nodes.find((node) => node.file === file) ?? nodes[0]!;

  useEffect(() => {
    const element = select(svg.current!);
    const created = zoom<SVGSVGElement, unknown>()
      .scaleExtent([0.01, 4])
      .on("zoom", (event) => drawing.current?.setAttribute("transform", String(event.transform)));
    behaviour.current = created;
    element.call(created).on("dblclick.zoom", null);
    return () => void element.on(".zoom", null);
  }, []);

  const show = (shown: Node[]) => {
    const { clientWidth, clientHeight } = svg.current!;
    const left = Math.min(...shown.map((node) => node.x)) - WIDTH;
    const right = Math.max(...shown.map((node) => node.x)) + WIDTH;
    const top = Math.min(...shown.map((node) => node.y)) - 2 * HEIGHT;
    const bottom = Math.max(...shown.map((node) => node.y)) + 2 * HEIGHT;
    const scale = Math.min(1.25, clientWidth / (right - left), clientHeight / (bottom - top));
    behaviour.current!.transform(
      select(svg.current!),
      zoomIdentity
        .translate(clientWidth / 2, clientHeight / 2)
        .scale(scale)
        .translate(-(left + right) / 2, -(top + bottom) / 2),
    );
  };
  useEffect(() => show(nodes), [nodes]);

  const zoomBy = (factor: number) => behaviour.current!.scaleBy(select(svg.current!), factor);
  useEffect(() => {
    if (wantsFocus.current) {
      wantsFocus.current = false;
      drawing.current?.querySelector<SVGGElement>(`[data-file="${active}"]`)?.focus();
    }
  });

  const onKeyDown = (event: KeyboardEvent) => {
    const direction = DIRECTIONS[event.key];
    if (direction) {
      const next = nodeTowards(nodes, activeNode, ...direction);
      if (next) {
        setActive(next.file);
        wantsFocus.current = true;
        behaviour.current!.translateTo(select(svg.current!), next.x, next.y);
      }
    } else if (event.key === "Enter" || event.key === " ") {
      onFile(activeNode.file);
    } else if (event.key === "+" || event.key === "=") {
      zoomBy(1.3);
    } else if (event.key === "-") {
      zoomBy(1 / 1.3);
    } else if (event.key === "0") {
      show(nodes);
    } else if (event.key === "o") {
      navigation.openFile(activeNode.file);
    } else {
      return;
    }
    event.preventDefault();
  };

  return (
    <section class="graph-view" aria-label="Graph of dependencies">
      <div class="tools">
        <Field id="whole" label="Whole graph">
          <input
            id="whole"
            type="checkbox"
            checked={isWhole}
            onChange={(event) => setWhole(event.currentTarget.checked)}
          />
        </Field>
        <span class="buttons">
          <button type="button" onClick={() => zoomBy(1.3)}>
            Larger
          </button>
          <button type="button" onClick={() => zoomBy(1 / 1.3)}>
            Smaller
          </button>
          <button type="button" onClick={() => show(nodes)}>
            Show all
          </button>
          <button type="button" onClick={() => navigation.openFile(file)}>
            Open the objects
          </button>
        </span>
      </div>
      <p class="count" role="status">
        {model.path(file)} nests {counted(model.uses.of(file).length, "prefab")} and is nested by{" "}
        {counted(model.usedBy.of(file).length, "prefab")}.{leftOut > 0 && ` ${leftOut} of them are not shown.`}
      </p>
      <p class="hint">
        Arrow keys walk through the graph, Enter chooses a prefab, o opens it, + and − zoom, 0 shows everything. An arrow
        leads from a prefab to one that it nests.
      </p>
      <svg ref={svg} role="group" aria-label={`Graph of ${counted(nodes.length, "prefab")}`} onKeyDown={onKeyDown}>
        <g ref={drawing}>
          <Edges lines={lines} />
          {nodes.map((node) => (
            <GraphNode
              key={node.file}
              model={model}
              node={node}
              isChosen={node.file === file}
              isActive={node === activeNode}
              hasTitle={nodes.length <= MAX_TITLES}
              onChoose={() => {
                setActive(node.file);
                onFile(node.file);
              }}
            />
          ))}
        </g>
      </svg>
    </section>
  );
}

/** All edges are one element, because thousands of elements take long to make. They end at the left side of a node. */
function Edges({ lines }: { lines: number[][] }) {
  const path = useMemo(() => {
    let text = "";
    for (const line of lines) {
      if (line.length < 4) {
        continue;
      }
      const [x, y] = line.slice(-2) as [number, number];
      text += `M${line[0]},${line[1]}C${line.slice(2).join(" ")}`;
      text += `M${x - 7},${y - 4}L${x},${y}L${x - 7},${y + 4}`;
    }
    return text;
  }, [lines]);
  return <path class="edge" d={path} aria-hidden="true" />;
}

interface NodeProps {
  model: Model;
  node: Node;
  isChosen: boolean;
  isActive: boolean;
  hasTitle: boolean;
  onChoose(): void;
}

function GraphNode({ model, node, isChosen, isActive, hasTitle, onChoose }: NodeProps) {
  const path = model.path(node.file);
  const state = model.problem(node.file) ? " broken" : model.findingsCount[node.file]! > 0 ? " with-findings" : "";
  return (
    <g
      class={`node${isChosen ? " chosen" : ""}${state}`}
      role="button"
      aria-pressed={isChosen}
      tabindex={isActive ? 0 : -1}
      data-file={node.file}
      aria-label={`${path}, nests ${model.uses.of(node.file).length}, nested by ${model.usedBy.of(node.file).length}`}
      transform={`translate(${node.x - WIDTH / 2},${node.y - HEIGHT / 2})`}
      onClick={onChoose}
    >
      {hasTitle && <title>{path}</title>}
      <rect width={WIDTH} height={HEIGHT} rx="5" />
      <text x={WIDTH / 2} y={HEIGHT / 2 + 4}>
        {label(path)}
      </text>
    </g>
  );
}
