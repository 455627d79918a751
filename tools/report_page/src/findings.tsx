import { useMemo, useRef, useState } from "preact/hooks";
import type { Navigation } from "./app";
import { placeText } from "./details";
import { SearchField, SelectField } from "./field";
import type { Finding } from "./format";
import { counted, Model } from "./model";
import { useVirtualRows } from "./virtual_rows";

const SEVERITIES = [
  ["", "all findings"],
  ["error", "errors"],
  ["warning", "warnings"],
  ["note", "notes"],
] as const;
const ROW_HEIGHT = 92;

/** The findings, those of one severity or all. */
export function FindingsView({ model, navigation }: { model: Model; navigation: Navigation }) {
  const [severity, setSeverity] = useState<(typeof SEVERITIES)[number][0]>("");
  const [query, setQuery] = useState("");
  const scroller = useRef<HTMLDivElement>(null);
  const shown = useMemo(() => {
    const wanted = query.trim().toLowerCase();
    return model.data.findings.filter(
      (finding) =>
        (severity === "" || finding.severity === severity) &&
        (wanted === "" ||
          `${finding.code} ${finding.message} ${finding.object} ${model.path(finding.file)}`.toLowerCase().includes(wanted)),
    );
  }, [model, severity, query]);
  const { items, size } = useVirtualRows(scroller, shown.length, ROW_HEIGHT, -1);
  return (
    <section class="findings-view" aria-label="Findings">
      <div class="tools">
        <SelectField id="severity" label="Show" value={severity} options={SEVERITIES} onChange={(chosen) => setSeverity(chosen)} />
        <SearchField id="search" value={query} onChange={setQuery} />
      </div>
      <p class="count" role="status">
        {counted(shown.length, "finding")}
      </p>
      {model.data.findings.length === 0 && <p class="hint">The check has found nothing.</p>}
      <div class="scroller" ref={scroller}>
        <div role="list" aria-label="Findings" class="rows" style={{ height: `${size}px` }}>
          {items.map((item) => (
            <FindingRow
              key={item.key}
              model={model}
              finding={shown[item.index]!}
              position={item.index + 1}
              count={shown.length}
              top={item.start}
              navigation={navigation}
            />
          ))}
        </div>
      </div>
    </section>
  );
}

interface RowProps {
  model: Model;
  finding: Finding;
  position: number;
  count: number;
  top: number;
  navigation: Navigation;
}

function FindingRow({ model, finding, position, count, top, navigation }: RowProps) {
  const open = () =>
    finding.uuid ? navigation.openObject(finding.file, finding.uuid) : navigation.openFile(finding.file);
  return (
    <div
      role="listitem"
      aria-posinset={position}
      aria-setsize={count}
      class="finding-row"
      style={{ transform: `translateY(${top}px)` }}
    >
      <p class="finding-head">
        <span class={`severity ${finding.severity}`}>{finding.severity}</span>{" "}
        <span class="code" title={model.data.rules[finding.code]?.what}>
          {finding.code}
        </span>{" "}
        {finding.file >= 0 && (
          <button type="button" class="link" onClick={open}>
            {finding.object || model.path(finding.file)}
          </button>
        )}{" "}
        <span class="place">{placeText(model, finding.file, finding.line)}</span>
      </p>
      <p class="message">{finding.message}</p>
      <p class="cure">{finding.cure}</p>
    </div>
  );
}
