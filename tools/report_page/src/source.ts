import { DATA_VERSION, type LiveState, type ReportData } from "./format";

/** What tells the page about data. */
export interface DataListener {
  onData(data: ReportData): void;
  onLive(state: LiveState): void;
  onProblem(message: string): void;
}

function read(text: string, listener: DataListener): void {
  const data = JSON.parse(text) as ReportData;
  if (data.version === DATA_VERSION) {
    listener.onData(data);
  } else {
    listener.onProblem(`The data has version ${data.version}, but this page reads version ${DATA_VERSION}.`);
  }
}

class ServedData {
  private isRequested = false;
  private isStale = false;

  constructor(private readonly listener: DataListener) {
    void this.request();
    const events = new EventSource("events" + location.search);
    events.addEventListener("data", () => void this.request());
    events.addEventListener("live", (event) => listener.onLive(JSON.parse(event.data) as LiveState));
    events.addEventListener("open", () => listener.onProblem(""));
    events.addEventListener("error", () => listener.onProblem("The connection to kiln-prefab explore is interrupted."));
  }

  /** One request at a time; a change during a request leads to another one. */
  private async request(): Promise<void> {
    this.isStale = true;
    if (this.isRequested) {
      return;
    }
    this.isRequested = true;
    while (this.isStale) {
      this.isStale = false;
      try {
        const response = await fetch("data.json" + location.search, { cache: "no-store" });
        if (!response.ok) {
          throw new Error(`the server answered ${response.status}`);
        }
        read(await response.text(), this.listener);
      } catch (error) {
        this.listener.onProblem(`The data cannot be loaded: ${error instanceof Error ? error.message : String(error)}.`);
      }
    }
    this.isRequested = false;
  }
}

/** Delivers the embedded data, or that of the server whenever it changes. */
export function openSource(listener: DataListener): void {
  const element = document.getElementById("data");
  const text = element?.textContent?.trim() ?? "";
  if (text !== "") {
    read(text, listener);
    element!.textContent = ""; // The parsed data is kept; the text is not needed any more.
  } else {
    new ServedData(listener);
  }
}
