import { render } from "preact";
import { useCallback, useEffect, useMemo, useRef, useState } from "preact/hooks";
import { DetailsPanel } from "./details";
import { SelectField } from "./field";
import { FileChoice } from "./file_choice";
import { FindingsView } from "./findings";
import type { LiveState, ReportData } from "./format";
import { GraphView } from "./graph";
import { LiveView } from "./live";
import { counted, Model } from "./model";
import { NumbersView } from "./numbers";
import { openSource } from "./source";
import { TreeView } from "./tree";

type View = "tree" | "graph" | "findings" | "prefabs" | "live" | "about";

/** What the user has chosen; it stays when data changes. */
export interface Selection {
  path: string; // Of the prefab.
  key: string; // Of the object in it, see Model.key(); empty for none.
}

export interface Navigation {
  openFile(file: number): void;
  openObject(file: number, key: string): void;
  showInGraph(file: number): void;
}

declare const LICENCES: { name: string; version: string; licence: string; text: string }[];

const THEMES = [
  ["auto", "as the system"],
  ["light", "light"],
  ["dark", "dark"],
] as const;

function ThemeSwitch() {
  const [theme, setTheme] = useState<(typeof THEMES)[number][0]>("auto");
  useEffect(() => {
    document.documentElement.dataset["theme"] = theme;
  }, [theme]);
  return <SelectField id="theme" label="Colours" value={theme} options={THEMES} onChange={(chosen) => setTheme(chosen)} />;
}

function Tabs({ views, view, onChange }: { views: [View, string][]; view: View; onChange(view: View): void }) {
  const move = (event: KeyboardEvent) => {
    const index = views.findIndex(([name]) => name === view);
    const last = views.length - 1;
    const next = { ArrowRight: index === last ? 0 : index + 1, ArrowLeft: index === 0 ? last : index - 1, Home: 0, End: last }[
      event.key
    ];
    if (next !== undefined) {
      event.preventDefault();
      onChange(views[next]![0]);
      document.getElementById(`tab-${views[next]![0]}`)?.focus();
    }
  };
  return (
    <div role="tablist" aria-label="Views" class="tabs" onKeyDown={move}>
      {views.map(([name, label]) => (
        <button
          key={name}
          id={`tab-${name}`}
          role="tab"
          type="button"
          aria-selected={name === view}
          aria-controls="view"
          tabIndex={name === view ? 0 : -1}
          onClick={() => onChange(name)}
        >
          {label}
        </button>
      ))}
    </div>
  );
}

function About({ data }: { data: ReportData }) {
  return (
    <section class="about">
      <h2>About this page</h2>
      <p>
        Written by {data.tool.name} {data.tool.version}. The page contains these libraries:
      </p>
      {LICENCES.map((library) => (
        <details key={library.name}>
          <summary>
            {library.name} {library.version} ({library.licence})
          </summary>
          <pre tabIndex={0}>{library.text}</pre>
        </details>
      ))}
    </section>
  );
}

function App() {
  const [data, setData] = useState<ReportData | null>(null);
  const [live, setLive] = useState<LiveState | null>(null);
  const [problem, setProblem] = useState("");
  const [view, setView] = useState<View>("tree");
  const [selection, setSelection] = useState<Selection | null>(null);
  useEffect(() => openSource({ onData: setData, onLive: setLive, onProblem: setProblem }), []);

  const model = useMemo(() => (data ? new Model(data) : null), [data]);
  const found = model && selection ? model.findFile(selection.path) : -1;
  const file = model ? (found >= 0 ? found : model.data.entry) : -1;
  const key = found >= 0 ? selection!.key : "";

  const navigation = useMemo<Navigation | null>(
    () =>
      model && {
        openFile: (opened) => {
          setSelection({ path: model.path(opened), key: "" });
          setView("tree");
        },
        openObject: (opened, object) => {
          setSelection({ path: model.path(opened), key: object });
          setView("tree");
        },
        showInGraph: (shown) => {
          setSelection({ path: model.path(shown), key: "" });
          setView("graph");
        },
      },
    [model],
  );
  const select = useCallback(
    (object: string) => model && setSelection({ path: model.path(file), key: object }),
    [model, file],
  );
  const chooseFile = useCallback(
    (chosen: number) => model && setSelection({ path: model.path(chosen), key: "" }),
    [model],
  );
  const main = useRef<HTMLElement>(null);

  if (!model || !navigation) {
    return <p role={problem ? "alert" : "status"} class="loading">{problem || "Loading…"}</p>;
  }
  const views: [View, string][] = [
    ["tree", "Objects"],
    ["graph", "Graph"],
    ["findings", `Findings (${model.data.findings.length})`],
    ["prefabs", `Prefabs (${model.filesCount})`],
    ...(live ? [["live", "Live"] as [View, string]] : []),
    ["about", "About"],
  ];
  const node = key ? model.find(file, key) : null;
  return (
    <>
      <a class="skip" href="#view" onClick={(event) => {
        event.preventDefault();
        main.current?.focus();
      }}>
        Skip to the view
      </a>
      <header>
        <h1>
          <span class="program">Prefabs of</span> {model.data.title}
        </h1>
        <p class="summary">
          {counted(model.filesCount, "prefab")}, {counted(model.data.findings.length, "finding")}
        </p>
        <ThemeSwitch />
      </header>
      <div class="bar-of-views">
        <Tabs views={views} view={view} onChange={setView} />
        <FileChoice model={model} file={file} onFile={chooseFile} />
      </div>
      {problem && <p role="alert" class="problem">{problem}</p>}
      <main id="view" role="tabpanel" aria-labelledby={`tab-${view}`} tabIndex={-1} ref={main} data-view={view}>
        {view === "tree" && (
          <div class="split">
            <TreeView model={model} file={file} selected={node ? key : ""} onSelect={select} />
            <DetailsPanel model={model} file={file} node={node} navigation={navigation} />
          </div>
        )}
        {view === "graph" && <GraphView model={model} file={file} onFile={chooseFile} navigation={navigation} />}
        {view === "findings" && <FindingsView model={model} navigation={navigation} />}
        {view === "prefabs" && <NumbersView model={model} navigation={navigation} />}
        {view === "live" && live && <LiveView state={live} />}
        {view === "about" && <About data={model.data} />}
      </main>
    </>
  );
}

render(<App />, document.getElementById("app")!);
