// The actor viewer: loads actor.glb (or the file named by ?model=), frames
// and lights it, lists its skills (glTF animations) and nodes, and plays the
// chosen skill on a loop (?skill= picks the first one; else the first
// animation). window.zoViewer lets a test drive it: play(name), pause(),
// resume(), seek(seconds), and capture(), which draws the current pose at
// once and returns the canvas as a PNG data URL with the skill's time.
import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';
import { OrbitControls } from 'three/addons/controls/OrbitControls.js';

const BACKGROUND = 0x1d2128;
// How much room the framing leaves around the actor's bounds.
const FRAME_MARGIN = 1.15;
// The longest step of the animation clock between two frames (seconds): a
// slow renderer still plays in real time, and a tab that was hidden does
// not jump far.
const LONGEST_STEP = 0.5;

const params = new URLSearchParams(window.location.search);
const canvas = document.getElementById('canvas');
const playButton = document.getElementById('play');
const slider = document.getElementById('time');
const timeLabel = document.getElementById('time-label');

function fail(message) {
  document.title = `error: ${message}`;
  document.getElementById('message').textContent = message;
}

let renderer;
try {
  renderer = new THREE.WebGLRenderer({ canvas, antialias: true, preserveDrawingBuffer: true });
} catch (error) {
  fail(`WebGL is not available (${error.message})`);
  throw error;
}
renderer.setPixelRatio(window.devicePixelRatio);

const scene = new THREE.Scene();
scene.background = new THREE.Color(BACKGROUND);
scene.add(new THREE.HemisphereLight(0xffffff, 0x3a3f4a, 2.2));
const keyLight = new THREE.DirectionalLight(0xffffff, 2.0);
scene.add(keyLight);

const camera = new THREE.PerspectiveCamera(40, 1, 0.01, 1000);
const controls = new OrbitControls(camera, canvas);
controls.enableDamping = true;

const mixer = new THREE.AnimationMixer(scene);
const timer = new THREE.Timer();
const state = { clip: null, action: null, playing: true };

function resize() {
  const { clientWidth: width, clientHeight: height } = canvas;
  renderer.setSize(width, height, false);
  camera.aspect = width / Math.max(height, 1);
  camera.updateProjectionMatrix();
}

// Puts the camera in front of the actor, slightly above, so that its bounds
// fill the view with a margin; the key light follows the camera's side.
function frame(root) {
  const box = new THREE.Box3().setFromObject(root);
  if (box.isEmpty()) box.set(new THREE.Vector3(-1, -1, -1), new THREE.Vector3(1, 1, 1));
  const center = box.getCenter(new THREE.Vector3());
  const size = box.getSize(new THREE.Vector3()).length();
  const distance = (FRAME_MARGIN * size) / (2 * Math.tan(THREE.MathUtils.degToRad(camera.fov) / 2));
  const direction = new THREE.Vector3(0.55, 0.35, 1).normalize();
  camera.position.copy(center).addScaledVector(direction, distance);
  camera.near = distance / 100;
  camera.far = distance * 100;
  camera.updateProjectionMatrix();
  controls.target.copy(center);
  controls.update();
  keyLight.position.copy(center).add(new THREE.Vector3(2, 4, 3).multiplyScalar(size));
  keyLight.target.position.copy(center);
  scene.add(keyLight.target);
}

function showTime() {
  const duration = state.clip ? state.clip.duration : 0;
  const time = state.action ? state.action.time : 0;
  slider.value = duration > 0 ? String(time / duration) : '0';
  timeLabel.value = `${time.toFixed(2)} s`;
}

function setPlaying(playing) {
  state.playing = playing;
  playButton.textContent = playing ? 'Pause' : 'Play';
}

function play(name) {
  const clip = THREE.AnimationClip.findByName(window.zoViewer.clips, name);
  if (!clip) return false;
  mixer.stopAllAction();
  state.clip = clip;
  state.action = mixer.clipAction(clip);
  state.action.setLoop(THREE.LoopRepeat, Infinity).play();
  for (const button of document.querySelectorAll('#skills button'))
    button.setAttribute('aria-pressed', String(button.dataset.skill === name));
  setPlaying(true);
  return true;
}

function seek(seconds) {
  if (!state.action) return;
  state.action.time = seconds;
  mixer.update(0);
  showTime();
}

function listSkills(clips) {
  const list = document.getElementById('skills');
  if (clips.length === 0) list.innerHTML = '<li class="style">(no skills)</li>';
  for (const clip of clips) {
    const button = document.createElement('button');
    button.type = 'button';
    button.dataset.skill = clip.name;
    button.textContent = `${clip.name} (${clip.duration.toFixed(2)} s)`;
    button.addEventListener('click', () => play(clip.name));
    const item = document.createElement('li');
    item.append(button);
    list.append(item);
  }
}

// The actor's nodes, as the glTF file holds them; the helper nodes that
// carry directed lights are left out of the tree and the count.
function isHelper(node) {
  return Boolean(node.extras && node.extras.zoactorHelper);
}

function treeItem(json, index) {
  const node = json.nodes[index];
  const item = document.createElement('li');
  item.textContent = node.name || `node ${index}`;
  const style = node.extras && node.extras.zoactorStyle;
  if (style) {
    const tag = document.createElement('span');
    tag.className = 'style';
    tag.textContent = ` ${style}`;
    item.append(tag);
  }
  const children = (node.children || []).filter((child) => !isHelper(json.nodes[child]));
  if (children.length > 0) {
    const list = document.createElement('ul');
    for (const child of children) list.append(treeItem(json, child));
    item.append(list);
  }
  return item;
}

function listNodes(json) {
  const tree = document.getElementById('tree');
  const roots = json.scenes && json.scenes.length > 0 ? json.scenes[json.scene || 0].nodes || [] : [];
  for (const root of roots) tree.append(treeItem(json, root));
  return (json.nodes || []).filter((node) => !isHelper(node)).length;
}

function animate() {
  const delta = Math.min(timer.update().getDelta(), LONGEST_STEP);
  if (state.playing) {
    mixer.update(delta);
    showTime();
  }
  controls.update();
  renderer.render(scene, camera);
}

playButton.addEventListener('click', () => setPlaying(!state.playing));
slider.addEventListener('input', () => {
  setPlaying(false);
  if (state.clip) seek(Number(slider.value) * state.clip.duration);
});
window.addEventListener('resize', resize);

// The pose of this moment drawn now (not at the next frame), so that what
// a caller reads matches the time it is given.
function capture() {
  renderer.render(scene, camera);
  return { image: canvas.toDataURL('image/png'), time: state.action ? state.action.time : 0 };
}

window.zoViewer = {
  clips: [], play, seek, capture, pause: () => setPlaying(false), resume: () => setPlaying(true), state,
};

new GLTFLoader().load(
  params.get('model') || './actor.glb',
  (gltf) => {
    const json = gltf.parser.json;
    const root = gltf.scene;
    scene.add(root);
    document.getElementById('actor-name').textContent = root.name || 'actor';
    resize();
    frame(root);
    window.zoViewer.clips = gltf.animations;
    listSkills(gltf.animations);
    const nodes = listNodes(json);
    const wanted = params.get('skill');
    if (gltf.animations.length > 0 && !(wanted && play(wanted))) play(gltf.animations[0].name);
    renderer.setAnimationLoop(animate);
    document.title = `ready: ${nodes} nodes, ${gltf.animations.length} skills`;
  },
  undefined,
  (error) => fail(`cannot load the actor (${error.message || error})`),
);
