import type { Navigation } from "./app";
import type { LayerData, ValueData } from "./format";
import { flagNames, Model, type TreeNode } from "./model";
import { uuidText } from "./uuid";

export function placeText(model: Model, file: number, line: number): string {
  return line > 0 ? `${model.path(file)}:${line}` : model.path(file);
}

/** What a layer is, for people. */
function layerText(model: Model, layer: LayerData): string {
  switch (layer.kind) {
    case "default":
      return "default";
    case "loading":
      return "set by the loader";
    case "file":
      return placeText(model, layer.file, layer.line);
    case "override":
      return `override in ${placeText(model, layer.file, layer.line)}`;
  }
}

function valueText(value: ValueData): string {
  if (value.kind === "vector") {
    return value.children?.length ? `${value.children.length} elements` : "empty";
  }
  return value.kind === "structure" ? "" : value.text;
}

function Value({ model, value, name, depth }: { model: Model; value: ValueData; name: string; depth: number }) {
  const winner = value.layers.findLast((layer) => layer.effect === "wins");
  const isOverridden = winner?.kind === "override";
  const others = value.layers.filter((layer) => layer !== winner && layer.kind !== "default");
  return (
    <>
      <tr class={winner?.kind === "default" ? "default" : isOverridden ? "overridden" : ""}>
        <th scope="row" style={{ paddingLeft: `${8 + depth * 14}px` }}>
          {name}
        </th>
        <td class="value">{valueText(value)}</td>
        <td class="layer">
          {winner ? layerText(model, winner) : ""}
          {others.length > 0 && (
            <ul>
              {others.map((layer, i) => (
                <li key={i}>
                  {layer.effect}: <span class="value">{layer.text}</span> ({layerText(model, layer)})
                </li>
              ))}
            </ul>
          )}
        </td>
      </tr>
      {value.children?.map((child, i) => (
        <Value
          key={i}
          model={model}
          value={child}
          name={value.kind === "vector" ? `${name}[${i}]` : `${name}.${child.name}`}
          depth={depth + 1}
        />
      ))}
    </>
  );
}

interface Props {
  model: Model;
  file: number;
  node: TreeNode | null;
  navigation: Navigation;
}

export function DetailsPanel({ model, file, node, navigation }: Props) {
  if (!node) {
    return (
      <aside class="details" aria-label="Chosen object">
        <p class="hint">Choose an object to see its components, its values and what sets them.</p>
      </aside>
    );
  }
  const block = node.instance.block;
  const fileUuid = model.fileUuid(node);
  const nested = model.nestedFile(node);
  const flags = flagNames(block.stored.flags[node.object]!);
  const findings = model.data.findings.filter((finding) => finding.file === block.file && finding.uuid === fileUuid);
  return (
    <aside class="details" aria-label="Chosen object" tabIndex={0}>
      <h2>{model.name(node) || "(no name)"}</h2>
      <p class="path">{model.pathTo(node).map((step) => model.name(step)).join(" / ")}</p>
      <dl>
        <dt>Live UUID</dt>
        <dd class="uuid">{uuidText(model.liveUuid(node))}</dd>
        <dt>UUID in the file</dt>
        <dd class="uuid">{uuidText(fileUuid)}</dd>
        <dt>Place</dt>
        <dd>
          {placeText(model, block.file, block.stored.line[node.object]!)}{" "}
          {block.file !== file && (
            <button
              type="button"
              class="link"
              onClick={() => navigation.openObject(block.file, fileUuid)}
            >
              Open in its own prefab
            </button>
          )}
        </dd>
        {nested >= 0 && (
          <>
            <dt>Nests</dt>
            <dd>
              <button type="button" class="link" onClick={() => navigation.openFile(nested)}>
                {model.path(nested)}
              </button>
            </dd>
          </>
        )}
        {flags.length > 0 && (
          <>
            <dt>Flags</dt>
            <dd>{flags.join(", ")}</dd>
          </>
        )}
      </dl>
      {findings.map((finding, i) => (
        <p key={i} class={`finding ${finding.severity}`}>
          {finding.severity} {finding.code}: {finding.message}
        </p>
      ))}
      {model.components(node).map((component, i) => (
        <section key={i} class="component">
          <h3>
            {component.name} <span class="place">{placeText(model, component.file, component.line) || "added by the loader"}</span>
          </h3>
          {component.values.length > 0 && (
            <table>
              <thead>
                <tr>
                  <th scope="col">Property</th>
                  <th scope="col">Value</th>
                  <th scope="col">Set by</th>
                </tr>
              </thead>
              <tbody>
                {component.values.map((value, j) => (
                  <Value key={j} model={model} value={value} name={value.name} depth={0} />
                ))}
              </tbody>
            </table>
          )}
        </section>
      ))}
    </aside>
  );
}
