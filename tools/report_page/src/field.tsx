import type { ComponentChildren } from "preact";

interface Props {
  id: string; // Of the control.
  label: string;
  class?: string;
  children: ComponentChildren;
}

/** A control with its label. */
export function Field({ id, label, class: className, children }: Props) {
  return (
    <span class={`field ${className ?? ""}`}>
      <label for={id}>{label}</label> {children}
    </span>
  );
}

interface SelectProps<Value extends string> {
  id: string;
  label: string;
  value: Value;
  options: readonly (readonly [Value, string])[];
  onChange(value: Value): void;
}

export function SelectField<Value extends string>({ id, label, value, options, onChange }: SelectProps<Value>) {
  return (
    <Field id={id} label={label}>
      <select id={id} value={value} onChange={(event) => onChange(event.currentTarget.value as Value)}>
        {options.map(([name, text]) => (
          <option key={name} value={name}>
            {text}
          </option>
        ))}
      </select>
    </Field>
  );
}

interface SearchProps {
  id: string;
  value: string;
  placeholder?: string;
  onChange(value: string): void;
}

export function SearchField({ id, value, placeholder, onChange }: SearchProps) {
  return (
    <Field id={id} label="Search" class="search">
      <input
        id={id}
        type="search"
        value={value}
        placeholder={placeholder ?? ""}
        onInput={(event) => onChange(event.currentTarget.value)}
      />
    </Field>
  );
}
