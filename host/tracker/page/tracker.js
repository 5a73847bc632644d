// The Tracker page: draws the host's view layer and sends what the person does back to it.
// Every text from the host is put into the page as text (textContent), never as markup.
"use strict";

(function () {
    const token = new URLSearchParams(location.search).get("token") || "";
    const keys = {ArrowUp: 0x101, ArrowDown: 0x102, ArrowLeft: 0x103, ArrowRight: 0x104,
                  Enter: 13, Delete: 127};
    const desk = document.getElementById("desk");
    const connection = document.getElementById("connection");

    let state = null;
    // Elements kept from one drawing to the next, by view number, so that frames are not
    // reloaded and trees keep their scroll position.
    const elements = new Map();
    let openMenu = null;
    let dialog = null;
    let dragged = null;

    function withToken(path) {
        return path + (path.includes("?") ? "&" : "?") + "token=" + encodeURIComponent(token);
    }

    // Actions reach the host in the order the person made them. An answer to a dialog goes at
    // once: the action that raised the dialog waits for it.
    let queue = Promise.resolve();

    function act(action) {
        if (action.action === "answer")
            return send(action);
        const sent = queue.then(() => send(action));
        queue = sent.catch(() => {});
        return sent;
    }

    async function send(action) {
        try {
            const reply = await fetch(withToken("/action"), {
                method: "POST",
                headers: {"Content-Type": "application/json"},
                body: JSON.stringify(action),
            });
            return reply.ok ? await reply.json() : {ok: false};
        } catch (error) {
            return {ok: false};
        }
    }

    function element(tag, className, text) {
        const made = document.createElement(tag);
        if (className)
            made.className = className;
        if (text !== undefined)
            made.textContent = text;
        return made;
    }

    function iconImage(icon, className) {
        if (!icon)
            return element("span", className || "noicon");
        const image = element("img", className);
        image.src = withToken("/icon/" + icon);
        image.alt = "";
        return image;
    }

    // A menu's title without its mnemonic marks: "&Open" is "Open", "&&" an ampersand.
    function menuTitle(title) {
        return title.replace(/&(&?)/g, "$1");
    }

    // Drawing.

    function draw() {
        closeMenu();
        const windows = state.windows.filter((w) => w.visible && w.root);
        const seen = new Set();
        const kept = [];
        for (const w of windows) {
            let frame = elements.get("w" + w.id);
            if (!frame) {
                frame = element("section", "window");
                const bar = element("div", "titlebar");
                bar.append(element("span", "title"));
                const close = element("button", "close", "×");
                close.title = "Close";
                close.addEventListener("click", () => act({action: "closeWindow", window: w.id}));
                bar.append(close);
                frame.append(bar);
                elements.set("w" + w.id, frame);
            }
            frame.querySelector(".title").textContent = w.title;
            // A modal window sits above the others, which wait for it.
            frame.classList.toggle("modal", w.modal);
            const root = drawView(w.root, seen);
            if (frame.children[1] !== root) {
                if (frame.children[1])
                    frame.children[1].remove();
                frame.append(root);
            }
            kept.push(frame);
            seen.add("w" + w.id);
        }
        document.body.classList.toggle("has-modal", windows.some((w) => w.modal));
        document.title = windows.length ? windows[0].title + " — Vellum" : "Vellum";
        if (!windows.length)
            kept.push(launcher());
        place(desk, kept);
        for (const key of [...elements.keys()]) {
            if (!seen.has(key))
                elements.delete(key);
        }
    }

    function launcher() {
        const card = element("div", "launcher");
        card.append(element("h1", "", "Vellum"));
        if (!state.panels.length) {
            card.append(element("p", "", "The plug-in offers no panel."));
            return card;
        }
        card.append(element("p", "", "No window is open."));
        for (const panel of state.panels) {
            const open = element("button", "", "Open " + panel.title);
            open.addEventListener("click", () => act({action: "showPanel", name: panel.name}));
            card.append(open);
        }
        return card;
    }

    // Puts children into parent in order, moving only what is out of place.
    function place(parent, children) {
        children.forEach((child, index) => {
            if (parent.children[index] !== child)
                parent.insertBefore(child, parent.children[index] || null);
        });
        while (parent.children.length > children.length)
            parent.lastElementChild.remove();
    }

    function drawView(view, seen) {
        const key = "v" + view.id;
        seen.add(key);
        let made = elements.get(key);
        if (!made || made.dataset.kind !== view.class) {
            made = create(view);
            made.dataset.kind = view.class;
            made.dataset.view = view.id;
            made.dataset.name = view.name;
            elements.set(key, made);
        }
        made.classList.toggle("hidden", !view.visible);
        update(made, view, seen);
        return made;
    }

    function create(view) {
        switch (view.class) {
        case "Tree": {
            const tree = element("div", "view v-Tree");
            tree.tabIndex = 0;
            tree.setAttribute("role", "tree");
            tree.addEventListener("keydown", (event) => {
                if (!(event.key in keys) || dialog)
                    return;
                event.preventDefault();
                act({action: "key", tree: view.id, key: keys[event.key]});
            });
            return tree;
        }
        case "HTML": {
            const holder = element("div", "view v-HTML");
            const frame = element("iframe");
            // No allow-scripts: the page the plug-in writes never runs script here.
            frame.setAttribute("sandbox", "");
            frame.setAttribute("referrerpolicy", "no-referrer");
            frame.title = "Context";
            holder.append(frame);
            return holder;
        }
        case "Splitter":
            return element("div", "view v-Splitter");
        case "ToolBar": {
            const bar = element("div", "view v-ToolBar");
            bar.setAttribute("role", "toolbar");
            return bar;
        }
        case "PropertyButton":
            return element("button", "view v-PropertyButton");
        case "PopupButton":
        case "ComboBox":
            return element("select", "view v-" + view.class);
        case "TextEdit":
            return element("input", "view v-TextEdit");
        case "PushButton":
            return element("button", "view v-PushButton");
        case "ProgressBar":
            return element("progress", "view v-ProgressBar");
        default:
            return element("div", "view v-" + view.class);
        }
    }

    function update(made, view, seen) {
        switch (view.class) {
        case "Tree":
            return drawTree(made, view);
        case "HTML": {
            const frame = made.firstChild;
            const source = withToken("/content/" + view.id) + "&v=" + view.version;
            if (frame.dataset.source !== source) {
                frame.dataset.source = source;
                frame.src = source;
            }
            return;
        }
        case "Splitter":
            return drawSplitter(made, view, seen);
        case "PropertyButton":
            return drawButton(made, view);
        case "StaticText":
            made.textContent = view.text;
            made.classList.toggle("bold", (view.fontFlags & 1) !== 0);
            made.classList.toggle("small", (view.fontFlags & 4) !== 0);
            made.onclick = view.clickable ? () => act({action: "press", view: view.id}) : null;
            return;
        case "StaticIcon":
            made.replaceChildren(iconImage(view.icon));
            made.onclick = view.clickable ? () => act({action: "press", view: view.id}) : null;
            return;
        case "PopupButton":
        case "ComboBox":
            made.replaceChildren(...view.entries.map((entry, index) => {
                const option = element("option", "", entry.separator ? "────" : entry.text);
                option.value = index;
                option.disabled = entry.separator;
                return option;
            }));
            made.value = view.selection;
            made.disabled = !view.enabled;
            made.onchange = () => act({action: "choose", view: view.id, index: Number(made.value)});
            return;
        case "TextEdit":
            if (document.activeElement !== made)
                made.value = view.text;
            made.readOnly = view.readOnly;
            made.disabled = !view.enabled;
            made.onchange = () => act({action: "edit", view: view.id, text: made.value, commit: true});
            return;
        case "PushButton":
            made.textContent = view.text;
            made.disabled = !view.enabled;
            made.onclick = () => act({action: "press", view: view.id});
            return;
        case "CheckBox":
        case "RadioButton": {
            const box = element("input");
            box.type = view.class === "CheckBox" ? "checkbox" : "radio";
            box.checked = view.state === 1;
            box.indeterminate = view.state === 2;
            box.disabled = !view.enabled;
            box.onclick = (event) => {
                event.preventDefault();
                act({action: "press", view: view.id});
            };
            const label = element("label");
            label.append(box, document.createTextNode(" " + view.text));
            made.replaceChildren(label);
            return;
        }
        case "ProgressBar":
            made.max = Math.max(1, view.max - view.min);
            made.value = view.pos - view.min;
            return;
        case "Slider": {
            const slider = element("input");
            slider.type = "range";
            slider.min = view.min;
            slider.max = view.max;
            slider.value = view.pos;
            slider.disabled = true;
            made.replaceChildren(slider);
            return;
        }
        case "Gap":
            made.style.width = view.width + "px";
            made.style.height = view.height + "px";
            return;
        case "List":
            return drawList(made, view);
        default:
            place(made, view.children.map((child) => drawView(child, seen)));
        }
    }

    function drawButton(made, view) {
        if (view.separator) {
            made.className = "toolsep";
            made.disabled = true;
            made.replaceChildren();
            return;
        }
        made.className = "view v-PropertyButton" + (view.mark ? " marked" : "");
        made.title = view.help || view.text;
        made.disabled = !view.active;
        const parts = [];
        if (view.icon)
            parts.push(iconImage(view.icon));
        // The label shows beside the icon when the button asks for it, or in place of none.
        if ((view.text && view.labelled) || !view.icon)
            parts.push(element("span", view.menu ? "drop" : "", view.text));
        else if (view.menu)
            parts.push(element("span", "drop"));
        made.replaceChildren(...parts);
        made.setAttribute("aria-label", view.text || view.help);
        made.onclick = async () => {
            if (!view.menu)
                return act({action: "press", view: view.id});
            const reply = await act({action: "buttonMenu", view: view.id});
            if (reply.ok) {
                const box = made.getBoundingClientRect();
                showMenu(reply.menu, box.left, box.bottom + 2, false);
            }
        };
    }

    function drawSplitter(made, view, seen) {
        made.classList.toggle("across", view.vertical);
        made.classList.toggle("down", !view.vertical);
        const byId = new Map(view.children.map((child) => [child.id, child]));
        const firstId = view.panes.Left || view.panes.Top || view.panes.TopLeft || view.panes.BottomLeft;
        const secondId = view.panes.Right || view.panes.Bottom || view.panes.TopRight ||
                         view.panes.BottomRight;
        const order = [byId.get(firstId), byId.get(secondId)];
        for (const child of view.children) {
            if (!order.includes(child))
                order.push(child);
        }
        const panes = [];
        let divider = made.querySelector(":scope > .divider") || element("div", "divider");
        order.filter(Boolean).forEach((child, index) => {
            const key = "p" + view.id + "-" + index;
            let pane = elements.get(key);
            if (!pane) {
                pane = element("div", "pane");
                elements.set(key, pane);
            }
            seen.add(key);
            pane.className = "pane " + (index === 0 ? "first" : "second");
            const hidden = (view.only === 1 && index !== 0) || (view.only === 2 && index === 0);
            pane.classList.toggle("hidden", hidden);
            place(pane, [drawView(child, seen)]);
            if (index === 0) {
                const size = view.size > 0 ? view.size : 280;
                pane.style[view.vertical ? "width" : "height"] = size + "px";
                pane.style[view.vertical ? "height" : "width"] = "";
            }
            panes.push(pane);
            if (index === 0)
                panes.push(divider);
        });
        divider.classList.toggle("hidden", view.only !== 0);
        divider.onmousedown = (event) => dragDivider(event, made, panes[0], view);
        place(made, panes);
    }

    function dragDivider(event, splitter, first, view) {
        event.preventDefault();
        const box = splitter.getBoundingClientRect();
        const across = view.vertical;
        let size = across ? first.offsetWidth : first.offsetHeight;
        const move = (moved) => {
            size = Math.max(60, Math.round(across ? moved.clientX - box.left : moved.clientY - box.top));
            first.style[across ? "width" : "height"] = size + "px";
        };
        const stop = () => {
            removeEventListener("mousemove", move);
            removeEventListener("mouseup", stop);
            act({action: "splitter", view: view.id, size: size});
        };
        addEventListener("mousemove", move);
        addEventListener("mouseup", stop);
    }

    function drawList(made, view) {
        const table = element("table");
        const head = element("tr");
        for (const title of view.columns)
            head.append(element("th", "", title));
        table.append(head);
        view.rows.forEach((cells, index) => {
            const row = element("tr", index === view.selection ? "selected" : "");
            for (const cell of cells)
                row.append(element("td", "", cell));
            row.onclick = () => act({action: "choose", view: view.id, index: index});
            table.append(row);
        });
        made.replaceChildren(table);
    }

    // The tree.

    function drawTree(made, view) {
        const rows = [];
        const walk = (items, depth) => {
            for (const item of items) {
                rows.push(treeRow(view, item, depth));
                if (item.open)
                    walk(item.children, depth + 1);
            }
        };
        walk(view.items, 0);
        made.replaceChildren(...rows);
    }

    function treeRow(view, item, depth) {
        const row = element("div", "row");
        row.setAttribute("role", "treeitem");
        row.dataset.item = item.id;
        row.setAttribute("aria-level", depth + 1);
        row.classList.toggle("selected", item.selected);
        row.classList.toggle("bold", (item.style & 1) !== 0);
        row.classList.toggle("italic", (item.style & 2) !== 0);
        row.setAttribute("aria-selected", item.selected);
        if (item.children.length)
            row.setAttribute("aria-expanded", item.open);
        row.style.paddingLeft = 4 + depth * 16 + "px";
        if (item.tip)
            row.title = item.tip;

        const twisty = element("span", "twisty" + (item.children.length ? " has" : "") +
                                       (item.open ? " open" : ""));
        twisty.addEventListener("click", (event) => {
            event.stopPropagation();
            if (item.children.length)
                act({action: "open", tree: view.id, item: item.id, open: !item.open});
        });
        row.append(twisty, iconImage(item.icon), element("span", "label", item.text));

        row.addEventListener("mousedown", () => row.parentElement.focus());
        row.addEventListener("click", () => act({action: "click", tree: view.id, item: item.id}));
        row.addEventListener("dblclick", () =>
            act({action: "doubleClick", tree: view.id, item: item.id}));
        row.addEventListener("contextmenu", async (event) => {
            event.preventDefault();
            const x = event.clientX;
            const y = event.clientY;
            const reply = await act({action: "contextMenu", tree: view.id, item: item.id});
            if (reply.ok)
                showMenu(reply.menu, x, y, true);
        });

        row.draggable = true;
        row.addEventListener("dragstart", (event) => {
            dragged = {tree: view.id, item: item.id};
            event.dataTransfer.effectAllowed = "move";
            event.dataTransfer.setData("text/plain", item.text);
        });
        row.addEventListener("dragover", (event) => {
            if (!dragged || dragged.tree !== view.id || dragged.item === item.id)
                return;
            event.preventDefault();
            const box = row.getBoundingClientRect();
            const before = event.clientY < box.top + box.height / 2;
            row.classList.toggle("drop-before", before);
            row.classList.toggle("drop-after", !before);
        });
        row.addEventListener("dragleave", () => row.classList.remove("drop-before", "drop-after"));
        row.addEventListener("drop", (event) => {
            event.preventDefault();
            const before = row.classList.contains("drop-before");
            row.classList.remove("drop-before", "drop-after");
            if (dragged && dragged.item !== item.id)
                act({action: "move", tree: view.id, item: dragged.item, target: item.id,
                     before: before});
            dragged = null;
        });
        row.addEventListener("dragend", () => { dragged = null; });
        return row;
    }

    // Menus.

    function showMenu(menu, x, y, owned) {
        closeMenu();
        const box = menuBox(menu);
        box.style.left = x + "px";
        box.style.top = y + "px";
        document.body.append(box);
        const fit = box.getBoundingClientRect();
        if (fit.right > innerWidth)
            box.style.left = Math.max(0, innerWidth - fit.width - 4) + "px";
        if (fit.bottom > innerHeight)
            box.style.top = Math.max(0, innerHeight - fit.height - 4) + "px";
        openMenu = {box: box, menu: menu, owned: owned};
    }

    function menuBox(menu) {
        const box = element("div", "menu");
        box.setAttribute("role", "menu");
        for (const item of menu.items) {
            if (item.separator) {
                box.append(element("div", "sep"));
                continue;
            }
            const line = element("div", "item" + (item.enabled ? "" : " disabled") +
                                        (item.sub ? " sub" : ""));
            line.setAttribute("role", "menuitem");
            line.dataset.name = item.name;
            line.append(element("span", "check", item.marked ? "✓" : ""),
                        element("span", "", menuTitle(item.title)));
            if (item.sub) {
                line.append(menuBox(item.sub));
            } else if (item.enabled) {
                line.addEventListener("click", (event) => {
                    event.stopPropagation();
                    const chosen = openMenu;
                    closeMenu(true);
                    act({action: "menu", menu: menuOf(line, menu).id, name: item.name}).then(() => {
                        if (chosen && chosen.owned)
                            act({action: "closeMenu", menu: chosen.menu.id});
                    });
                });
            }
            box.append(line);
        }
        box.menu = menu;
        return box;
    }

    function menuOf(line, fallback) {
        const box = line.closest(".menu");
        return (box && box.menu) || fallback;
    }

    // keep: the menu's item runs next, and the menu is released after it.
    function closeMenu(keep) {
        if (!openMenu)
            return;
        openMenu.box.remove();
        if (openMenu.owned && !keep)
            act({action: "closeMenu", menu: openMenu.menu.id});
        openMenu = null;
    }

    addEventListener("mousedown", (event) => {
        if (openMenu && !openMenu.box.contains(event.target))
            closeMenu();
    });
    addEventListener("keydown", (event) => {
        if (event.key === "Escape" && openMenu)
            closeMenu();
    });

    // Dialogs.

    function showDialog(shown) {
        closeMenu();
        closeDialog();
        const overlay = element("div", "overlay");
        const box = element("div", "dialog");
        box.setAttribute("role", "alertdialog");
        box.setAttribute("aria-modal", "true");
        if (shown.title)
            box.append(element("h2", "", shown.title));
        box.append(element("p", "message", shown.text));
        const buttons = element("div", "buttons");
        let field = null;
        const answer = (fields) => {
            act(Object.assign({action: "answer", dialog: shown.id}, fields));
            closeDialog();
        };
        if (shown.kind === "response") {
            field = element("input");
            field.type = shown.password ? "password" : "text";
            field.value = shown.default;
            field.name = "answer";
            box.append(field);
            const cancel = element("button", "", "Cancel");
            cancel.onclick = () => answer({cancel: true});
            const ok = element("button", "default", "OK");
            ok.onclick = () => answer({value: field.value});
            buttons.append(cancel, ok);
            field.addEventListener("keydown", (event) => {
                if (event.key === "Enter")
                    ok.click();
                if (event.key === "Escape")
                    cancel.click();
            });
        } else {
            shown.buttons.forEach((label, index) => {
                const button = element("button", index === 0 ? "default" : "", label);
                button.onclick = () => answer({button: index + 1});
                buttons.append(button);
            });
        }
        box.append(buttons);
        overlay.append(box);
        document.body.append(overlay);
        dialog = {id: shown.id, overlay: overlay};
        (field || buttons.querySelector(".default") || buttons.firstChild).focus();
    }

    function closeDialog(id) {
        if (!dialog || (id !== undefined && dialog.id !== id))
            return;
        dialog.overlay.remove();
        dialog = null;
    }

    // The channel.

    let retry = 500;

    function connect() {
        const socket = new WebSocket(withToken("ws://" + location.host + "/socket"));
        socket.onopen = () => {
            retry = 500;
            connection.textContent = "Connected to vellum-host at " + location.host;
            document.getElementById("status").classList.remove("lost");
        };
        socket.onmessage = (event) => {
            const message = JSON.parse(event.data);
            if (message.type === "state") {
                state = message.state;
                draw();
            } else if (message.type === "dialog") {
                showDialog(message.dialog);
            } else if (message.type === "dialogDone") {
                closeDialog(message.id);
            }
        };
        socket.onclose = () => {
            connection.textContent = "Not connected to vellum-host: trying again…";
            document.getElementById("status").classList.add("lost");
            closeDialog();
            setTimeout(connect, retry);
            retry = Math.min(retry * 2, 8000);
        };
    }

    connect();
})();
